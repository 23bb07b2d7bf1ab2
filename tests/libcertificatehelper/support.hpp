#pragma once

// What the tests of the certificate library share.

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "tests/support/certificate_factory.hpp"

#include <string>
#include <string_view>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/asn1err.h>
#include <openssl/err.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace factory = test_support;
using certificate_ptr = std::unique_ptr<certificate_interface>;
using std::chrono::sys_seconds;
using std::chrono_literals::operator""h;
using std::chrono_literals::operator""s;
using enum factory::key_kind;

inline byte_view bytes(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline byte_vector replaced(const byte_vector& bytes, std::string_view from, std::string_view to) {
    std::string changed{bytes.begin(), bytes.end()};
    changed.replace(changed.find(from), from.size(), to); // throws where it is not found
    return {changed.begin(), changed.end()};
}

inline byte_vector with_broken_signature(byte_vector der) {
    der.back() ^= 1U;
    return der;
}

inline certificate_ptr load(const byte_vector& der) {
    return create_openssl_allocator()->create_certificate_from_der(der);
}

inline certificate_ptr make(const factory::certificate_request& request) {
    return load(factory::make_certificate(request).der);
}

/// Runs an operation while the host has an error of its own in OpenSSL's queue, and expects an
/// exception whose text starts with `start` and does not show that error, and an empty queue.
template <typename Failure, typename Operation>
void expect_failure(std::string_view start, Operation operation) {
    ERR_raise(ERR_LIB_ASN1, ASN1_R_UNKNOWN_FORMAT);
    try {
        operation();
        ADD_FAILURE() << "no exception; expected: " << start;
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(), testing::StartsWith(std::string{start}));
        EXPECT_THAT(failure.what(), testing::Not(testing::HasSubstr("unknown format")));
    }
    EXPECT_EQ(ERR_peek_error(), 0U) << start;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
