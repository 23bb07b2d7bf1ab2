// Who vouches for a server, and what was revoked.

#include "tests/trust/verification_question.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;

revocation_list revoking(
    const test::made_certificate& issuer,
    const std::vector<test::made_certificate>& revoked,
    std::optional<std::chrono::sys_seconds> next = now + 24h
) {
    const auto made = test::make_crl({issuer, revoked, now - 48h, next});
    return read_revocation_lists({reinterpret_cast<const char*>(made.der.data()), made.der.size()})
        .at(0);
}

const verification_case chain_cases[] = {
    {"trusted_leaf",
     good,
     "",
     [](question& ask) {
         ask.chain = {read(the_plant().self_signed)};
         ask.lists.trusted = ask.chain;
     }},
    {"trusted_leaf_of_an_unknown_authority",
     good,
     "",
     [](question& ask) {
         ask.chain = {read(the_plant().server)};
         ask.lists.trusted = ask.chain;
     }},
    {"trusted_root_with_known_issuer", good, "", trust_root},
    {"trusted_root_and_the_chain_that_the_server_sends",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.lists.issuers.clear();
         ask.chain.push_back(read(the_plant().intermediate));
     }},
    {"trusted_intermediate_authority",
     good,
     "",
     [](question& ask) {
         ask.chain = {read(the_plant().server)};
         ask.lists.trusted = {read(the_plant().intermediate)};
     }},
    {"unknown_self_signed",
     bad_certificate_untrusted,
     "is not trusted",
     [](question& ask) { ask.chain = {read(the_plant().self_signed)}; },
     true},
    {"root_only_known_as_issuer",
     bad_certificate_untrusted,
     "CN=Plant Root",
     [](question& ask) {
         trust_root(ask);
         ask.lists.issuers.push_back(read(the_plant().root));
         ask.lists.trusted.clear();
     },
     true},
    {"authorities_that_the_server_brings_are_not_trusted",
     bad_certificate_untrusted,
     "CN=Plant Root",
     [](question& ask) {
         ask.chain = {
             read(the_plant().server), read(the_plant().intermediate), read(the_plant().root)};
     },
     true},
    {"issuer_missing",
     bad_certificate_chain_incomplete,
     "CN=Plant Line 1",
     [](question& ask) {
         trust_root(ask);
         ask.lists.issuers.clear();
     },
     true},
    {"same_names_but_another_key",
     bad_certificate_untrusted,
     "",
     [](question& ask) {
         auto request = server_request();
         request.key = test::key_kind::other_rsa;
         ask.chain = {read(test::make_certificate(request))};
         ask.lists.trusted = {read(the_plant().self_signed)};
     },
     true},
    {"trusted_leaf_vouches_for_nobody",
     bad_certificate_issuer_use_not_allowed,
     "",
     [](question& ask) {
         ask.chain = {read(test::make_certificate(server_request(&the_plant().self_signed)))};
         auto other = server_request(&the_plant().self_signed);
         other.common_names = {"somebody else"};
         ask.chain = {read(test::make_certificate(other))};
         ask.lists.trusted = {read(the_plant().self_signed)};
     }},
    {"nor_does_a_server_that_calls_itself_an_authority",
     bad_certificate_issuer_use_not_allowed,
     "no authority",
     [](question& ask) {
         static const auto proud =
             test::make_certificate(with_extension("basicConstraints", "CA:TRUE"));
         auto other = server_request(&proud);
         other.common_names = {"somebody else"};
         ask.chain = {read(test::make_certificate(other))};
         ask.lists.trusted = {read(proud)};
     }},
    {"but_that_server_itself_is_accepted",
     good,
     "",
     [](question& ask) {
         trust_changed_server(ask, with_extension("basicConstraints", "CA:TRUE"));
     }},
    {"revoked",
     bad_certificate_revoked,
     "has been revoked",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {revoking(the_plant().intermediate, {the_plant().server})};
     }},
    {"revoked_although_trusted_by_itself",
     bad_certificate_revoked,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.lists.trusted = ask.chain;
         ask.lists.revoked = {revoking(the_plant().intermediate, {the_plant().server})};
     }},
    {"issuer_revoked",
     bad_certificate_issuer_revoked,
     "Plant Line 1",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {revoking(the_plant().root, {the_plant().intermediate})};
     }},
    {"revoked_by_an_outdated_list",
     bad_certificate_revoked,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {revoking(the_plant().intermediate, {the_plant().server}, now - 1h)};
     }},
    {"others_revoked",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {revoking(the_plant().intermediate, {the_plant().self_signed})};
     }},
    {"list_of_somebody_with_the_same_name",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         static const auto impostor =
             test::make_certificate(authority_request("Plant Line 1", test::key_kind::rsa));
         ask.lists.revoked = {revoking(impostor, {the_plant().server})};
     }},
    {"list_out_of_date",
     bad_certificate_revocation_unknown,
     "out of date",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {revoking(the_plant().intermediate, {}, now - 1h)};
     }},
    {"outdated_and_current_list",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.lists.revoked = {
             revoking(the_plant().intermediate, {}, now - 1h),
             revoking(the_plant().intermediate, {})};
     }},
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
