#pragma once
// Questions to the verification of certificates, and what it should answer.

#include "tests/trust/plant_certificates.hpp"
#include "trust/verification.hpp"

#include <functional>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

using enum trust_status;

inline const auto now = test::certificate_request::now();

/// A plant whose root vouches for an intermediate authority, and that for servers.
struct plant {
    test::made_certificate root =
        test::make_certificate(authority_request("Plant Root", test::key_kind::other_rsa));
    test::made_certificate intermediate =
        test::make_certificate(authority_request("Plant Line 1", test::key_kind::ec, &root));
    test::made_certificate server = test::make_certificate(server_request(&intermediate));
    test::made_certificate self_signed = test::make_certificate(server_request());
};

inline const plant& the_plant() {
    static const plant made;
    return made;
}

/// What is asked; each case changes what it is about.
struct question {
    std::vector<certificate> chain;
    trust_lists lists;
    asked_server server{"localhost", plant_uri};
    bool confirmed = false;
};

struct verification_case {
    const char* name;
    trust_status status;
    const char* reason; ///< a part of it
    std::function<void(question&)> arrange;
    bool may_be_confirmed = false;
};

inline void PrintTo(const verification_case& shown, std::ostream* to) {
    *to << shown.name;
}

/// Trusts the root and knows the intermediate authority.
inline void trust_root(question& ask) {
    ask.chain = {read(the_plant().server)};
    ask.lists.trusted = {read(the_plant().root)};
    ask.lists.issuers = {read(the_plant().intermediate)};
}

inline void trust_changed_server(question& ask, const test::certificate_request& request) {
    ask.chain = {read(test::make_certificate(request))};
    ask.lists.trusted = ask.chain;
}

inline test::certificate_request with_extension(const std::string& name, const std::string& value) {
    auto request = server_request();
    set_extension(request, name, value);
    return request;
}

inline void expect_answer(const verification_case& shown) {
    question ask;
    shown.arrange(ask);
    const verdict found =
        verify(ask.chain, ask.lists, ask.server, ask.confirmed, std::chrono::system_clock::now());
    EXPECT_EQ(found.status, shown.status) << found.reason;
    EXPECT_THAT(found.reason, testing::HasSubstr(shown.reason));
    EXPECT_EQ(found.good(), found.reason.empty());
    EXPECT_EQ(found.may_be_confirmed, shown.may_be_confirmed);
}

} // namespace tarvik::monitoring_modules::probe
