// Whether a trusted certificate is valid now, made for servers, and of the server that was meant.

#include "tests/trust/verification_question.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;

test::certificate_request valid(std::chrono::sys_seconds from, std::chrono::sys_seconds until) {
    auto request = server_request();
    request.not_before = from;
    request.not_after = until;
    return request;
}

test::certificate_request named(const std::vector<test::alternative_name>& names) {
    auto request = server_request();
    request.common_names = {"plc.example"};
    request.alternative_names = names;
    return request;
}

/// The plant's server, reached under another name or as another application.
auto asked_for(const std::string& host, const std::string& application = plant_uri) {
    return [=](question& ask) {
        trust_root(ask);
        ask.server = {host, application};
    };
}

auto showing(const test::certificate_request& request, const std::string& host = "localhost") {
    return [=](question& ask) { ask.trusts_what_it_shows(request).server.host = host; };
}

const auto expired = valid(now - 48h, now - 1h);

const verification_case server_cases[] = {
    {"expired", showing(expired), bad_certificate_time_invalid, "expired on 20"},
    {"not_yet_valid",
     showing(valid(now + 1h, now + 48h)),
     bad_certificate_time_invalid,
     "Compare the clocks"},
    {"expired_and_confirmed",
     [](question& ask) { ask.trusts_what_it_shows(expired).confirmed = true; },
     bad_certificate_time_invalid,
     "expired on 20"},
    {"unknown_matters_more_than_expired",
     [](question& ask) { ask.trusts_what_it_shows(expired).lists.trusted.clear(); },
     bad_certificate_untrusted,
     "",
     true},
    {"expired_issuer",
     [](question& ask) {
         auto request = authority_request("Old Root", test::key_kind::other_rsa);
         request.not_after = now - 1min;
         static const auto old = test::make_certificate(request);
         ask.shows(test::make_certificate(server_request(&old))).trusts(old);
     },
     bad_certificate_issuer_time_invalid,
     "\"Old Root\""},
    {"another_host",
     asked_for("plc.example"),
     bad_certificate_host_name_invalid,
     "\"localhost\", \"127.0.0.1\" and not for \"plc.example\"",
     true},
    {"another_host_confirmed",
     [](question& ask) {
         asked_for("plc.example", "urn:other")(ask);
         ask.confirmed = true;
     }},
    {"address", asked_for("127.0.0.1")},
    {"host_in_another_case", asked_for("LocalHost")},
    {"common_name_is_no_host",
     showing(named({{test::name_kind::uri, plant_uri}}), "plc.example"),
     bad_certificate_host_name_invalid,
     "names no host",
     true},
    {"address_written_as_a_name",
     showing(
         named({{test::name_kind::uri, plant_uri}, {test::name_kind::dns, "192.0.2.7"}}),
         "192.0.2.7"
     )},
    {"another_application",
     asked_for("localhost", "urn:other"),
     bad_certificate_uri_invalid,
     "\"urn:other\"",
     true},
    {"application_not_known", asked_for("localhost", "")},
    {"no_application_in_it",
     showing(named({{test::name_kind::dns, "localhost"}})),
     bad_certificate_uri_invalid,
     "names no application",
     true},
    {"no_names_at_all", showing(named({})), bad_certificate_host_name_invalid, "no host", true},
    {"for_signatures_only",
     showing(with_extension("keyUsage", "digitalSignature")),
     bad_certificate_use_not_allowed,
     "encipherment"},
    {"for_clients_only",
     showing(with_extension("extendedKeyUsage", "clientAuth")),
     bad_certificate_use_not_allowed,
     "server authentication"},
    {"says_nothing_of_its_use",
     [](question& ask) {
         auto request = with_extension("keyUsage", "");
         set_extension(request, "extendedKeyUsage", "");
         ask.trusts_what_it_shows(request);
     }},
};

struct server_certificate : testing::TestWithParam<verification_case> {};

TEST_P(server_certificate, is_judged) {
    expect_answer(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    of,
    server_certificate,
    testing::ValuesIn(server_cases),
    [](const auto& shown) { return shown.param.name; }
);

} // namespace
} // namespace tarvik::monitoring_modules::probe
