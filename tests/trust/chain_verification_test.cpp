// Who vouches for a server, and what was revoked.

#include "tests/trust/verification_question.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;

const auto& server = the_plant().server;
const auto& self_signed = the_plant().self_signed;
const auto& intermediate = the_plant().intermediate;
const auto& root = the_plant().root;

revocation_list revoking(
    const test::made_certificate& issuer,
    const std::vector<test::made_certificate>& revoked,
    std::optional<std::chrono::sys_seconds> next = now + 24h
) {
    const auto made = test::make_crl({issuer, revoked, now - 48h, next});
    return read_revocation_lists({reinterpret_cast<const char*>(made.der.data()), made.der.size()})
        .at(0);
}

using revocation_lists = std::vector<revocation_list>;

/// A trusted root, with lists of what was revoked.
auto with(const std::function<revocation_lists()>& lists) {
    return [lists](question& ask) {
        trust_root(ask);
        ask.lists.revoked = lists();
    };
}

test::made_certificate somebody_else(const test::made_certificate& issuer) {
    auto request = server_request(&issuer);
    request.common_names = {"somebody else"};
    return test::make_certificate(request);
}

const auto authority_server = with_extension("basicConstraints", "CA:TRUE");

const verification_case chain_cases[] = {
    {"trusted_leaf", [](question& ask) { ask.shows(self_signed).trusts(self_signed); }},
    {"trusted_leaf_of_an_unknown_authority",
     [](question& ask) { ask.shows(server).trusts(server); }},
    {"trusted_root_with_known_issuer", trust_root},
    {"trusted_root_and_the_chain_that_the_server_sends",
     [](question& ask) { ask.shows(server, intermediate).trusts(root); }},
    {"trusted_intermediate_authority",
     [](question& ask) { ask.shows(server).trusts(intermediate); }},
    {"unknown_self_signed",
     [](question& ask) { ask.shows(self_signed); },
     bad_certificate_untrusted,
     "is not trusted",
     true},
    {"root_only_known_as_issuer",
     [](question& ask) { ask.shows(server).knows(intermediate, root); },
     bad_certificate_untrusted,
     "CN=Plant Root",
     true},
    {"authorities_that_the_server_brings_are_not_trusted",
     [](question& ask) { ask.shows(server, intermediate, root); },
     bad_certificate_untrusted,
     "CN=Plant Root",
     true},
    {"issuer_missing",
     [](question& ask) { ask.shows(server).trusts(root); },
     bad_certificate_chain_incomplete,
     "CN=Plant Line 1",
     true},
    {"same_names_but_another_key",
     [](question& ask) {
         auto request = server_request();
         request.key = test::key_kind::other_rsa;
         ask.shows(test::make_certificate(request)).trusts(self_signed);
     },
     bad_certificate_untrusted,
     "",
     true},
    {"trusted_leaf_vouches_for_nobody",
     [](question& ask) { ask.shows(somebody_else(self_signed)).trusts(self_signed); },
     bad_certificate_issuer_use_not_allowed},
    {"nor_does_a_server_that_calls_itself_an_authority",
     [](question& ask) {
         static const auto proud = test::make_certificate(authority_server);
         ask.shows(somebody_else(proud)).trusts(proud);
     },
     bad_certificate_issuer_use_not_allowed,
     "no authority"},
    {"but_that_server_itself_is_accepted",
     [](question& ask) { ask.trusts_what_it_shows(authority_server); }},
    {"revoked",
     with([] { return revocation_lists{revoking(intermediate, {server})}; }),
     bad_certificate_revoked,
     "has been revoked"},
    {"revoked_although_trusted_by_itself",
     [](question& ask) {
         trust_root(ask);
         ask.trusts(server).lists.revoked = {revoking(intermediate, {server})};
     },
     bad_certificate_revoked},
    {"issuer_revoked",
     with([] { return revocation_lists{revoking(root, {intermediate})}; }),
     bad_certificate_issuer_revoked,
     "Plant Line 1"},
    {"revoked_by_an_outdated_list",
     with([] { return revocation_lists{revoking(intermediate, {server}, now - 1h)}; }),
     bad_certificate_revoked},
    {"others_revoked",
     with([] { return revocation_lists{revoking(intermediate, {self_signed})}; })},
    {"list_of_somebody_with_the_same_name", with([] {
         static const auto impostor =
             test::make_certificate(authority_request("Plant Line 1", test::key_kind::rsa));
         return revocation_lists{revoking(impostor, {server})};
     })},
    {"list_out_of_date",
     with([] { return revocation_lists{revoking(intermediate, {}, now - 1h)}; }),
     bad_certificate_revocation_unknown,
     "out of date"},
    {"outdated_and_current_list", with([] {
         return revocation_lists{revoking(intermediate, {}, now - 1h), revoking(intermediate, {})};
     })},
};

struct chain : testing::TestWithParam<verification_case> {};

TEST_P(chain, is_judged) {
    expect_answer(GetParam());
}

INSTANTIATE_TEST_SUITE_P(of, chain, testing::ValuesIn(chain_cases), [](const auto& shown) {
    return shown.param.name;
});

} // namespace
} // namespace tarvik::monitoring_modules::probe
