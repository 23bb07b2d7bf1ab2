#pragma once
// The certificates of a small plant: an authority, servers that it vouches for, and others.

#include "tests/support/certificate_factory.hpp"
#include "trust/certificate.hpp"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace test = test_support;

inline constexpr const char* plant_uri = "urn:plant:server";

inline std::string bytes_of(const test::made_certificate& made) {
    return {reinterpret_cast<const char*>(made.der.data()), made.der.size()};
}

inline certificate read(const test::made_certificate& made) {
    return read_certificates(bytes_of(made)).at(0);
}

inline test::certificate_request authority_request(
    const std::string& name, test::key_kind key, const test::made_certificate* issuer = nullptr
) {
    test::certificate_request request;
    request.common_names = {name};
    request.key = key;
    request.issuer = issuer;
    request.extensions = {
        {"basicConstraints", "critical,CA:TRUE"}, {"keyUsage", "keyCertSign,cRLSign"}};
    return request;
}

/// A server named "localhost" and 127.0.0.1, signed by itself or by an issuer.
inline test::certificate_request server_request(const test::made_certificate* issuer = nullptr) {
    auto request = test::application_request(plant_uri);
    request.issuer = issuer;
    return request;
}

/// @return a new, empty folder, which the caller removes
inline std::filesystem::path make_folder() {
    std::string pattern = testing::TempDir() + "trust_XXXXXX";
    return mkdtemp(pattern.data());
}

inline void
set_extension(test::certificate_request& to, const std::string& name, const std::string& value) {
    std::erase_if(to.extensions, [&name](const auto& entry) { return entry.first == name; });
    if (!value.empty()) {
        to.extensions.emplace_back(name, value);
    }
}

} // namespace tarvik::monitoring_modules::probe
