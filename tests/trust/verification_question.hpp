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

    template <typename... Made>
    question& shows(const Made&... made) {
        chain = {read(made)...};
        return *this;
    }
    template <typename... Made>
    question& trusts(const Made&... made) {
        lists.trusted = {read(made)...};
        return *this;
    }
    template <typename... Made>
    question& knows(const Made&... issuers) {
        lists.issuers = {read(issuers)...};
        return *this;
    }
    /// Trusts the server that it shows.
    question& trusts_what_it_shows(const test::certificate_request& request) {
        const auto made = test::make_certificate(request);
        return shows(made).trusts(made);
    }
};

struct verification_case {
    const char* name;
    std::function<void(question&)> arrange;
    trust_status status = good;
    const char* reason = ""; ///< a part of it
    bool may_be_confirmed = false;
};

inline void PrintTo(const verification_case& shown, std::ostream* to) {
    *to << shown.name;
}

/// Trusts the root and knows the intermediate authority.
inline void trust_root(question& ask) {
    ask.shows(the_plant().server).trusts(the_plant().root).knows(the_plant().intermediate);
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
