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

const verification_case server_cases[] = {
    {"expired",
     bad_certificate_time_invalid,
     "expired on 20",
     [](question& ask) { trust_changed_server(ask, valid(now - 48h, now - 1h)); }},
    {"not_yet_valid",
     bad_certificate_time_invalid,
     "Compare the clocks",
     [](question& ask) { trust_changed_server(ask, valid(now + 1h, now + 48h)); }},
    {"expired_and_confirmed",
     bad_certificate_time_invalid,
     "expired on 20",
     [](question& ask) {
         trust_changed_server(ask, valid(now - 48h, now - 1h));
         ask.confirmed = true;
     }},
    {"unknown_matters_more_than_expired",
     bad_certificate_untrusted,
     "",
     [](question& ask) {
         trust_changed_server(ask, valid(now - 48h, now - 1h));
         ask.lists.trusted.clear();
     },
     true},
    {"expired_issuer",
     bad_certificate_issuer_time_invalid,
     "\"Old Root\"",
     [](question& ask) {
         auto request = authority_request("Old Root", test::key_kind::other_rsa);
         request.not_after = now - 1min;
         static const auto old = test::make_certificate(request);
         ask.chain = {read(test::make_certificate(server_request(&old)))};
         ask.lists.trusted = {read(old)};
     }},
    {"another_host",
     bad_certificate_host_name_invalid,
     "\"localhost\", \"127.0.0.1\" and not for \"plc.example\"",
     [](question& ask) {
         trust_root(ask);
         ask.server.host = "plc.example";
     },
     true},
    {"another_host_confirmed",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.server = {"plc.example", "urn:other"};
         ask.confirmed = true;
     }},
    {"address",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.server.host = "127.0.0.1";
     }},
    {"host_in_another_case",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.server.host = "LocalHost";
     }},
    {"common_name_is_no_host",
     bad_certificate_host_name_invalid,
     "names no host",
     [](question& ask) {
         auto request = server_request();
         request.common_names = {"plc.example"};
         request.alternative_names = {{test::name_kind::uri, plant_uri}};
         trust_changed_server(ask, request);
         ask.server.host = "plc.example";
     },
     true},
    {"address_written_as_a_name",
     good,
     "",
     [](question& ask) {
         auto request = server_request();
         request.alternative_names = {
             {test::name_kind::uri, plant_uri}, {test::name_kind::dns, "192.0.2.7"}};
         trust_changed_server(ask, request);
         ask.server.host = "192.0.2.7";
     }},
    {"another_application",
     bad_certificate_uri_invalid,
     "\"urn:other\"",
     [](question& ask) {
         trust_root(ask);
         ask.server.application_uri = "urn:other";
     },
     true},
    {"application_not_known",
     good,
     "",
     [](question& ask) {
         trust_root(ask);
         ask.server.application_uri.clear();
     }},
    {"no_application_in_it",
     bad_certificate_uri_invalid,
     "names no application",
     [](question& ask) {
         auto request = server_request();
         request.alternative_names = {{test::name_kind::dns, "localhost"}};
         trust_changed_server(ask, request);
     },
     true},
    {"no_names_at_all",
     bad_certificate_host_name_invalid,
     "names no host",
     [](question& ask) {
         auto request = server_request();
         request.alternative_names.clear();
         trust_changed_server(ask, request);
     },
     true},
    {"for_signatures_only",
     bad_certificate_use_not_allowed,
     "encipherment",
     [](question& ask) {
         trust_changed_server(ask, with_extension("keyUsage", "digitalSignature"));
     }},
    {"for_clients_only",
     bad_certificate_use_not_allowed,
     "server authentication",
     [](question& ask) {
         trust_changed_server(ask, with_extension("extendedKeyUsage", "clientAuth"));
     }},
    {"says_nothing_of_its_use",
     good,
     "",
     [](question& ask) {
         auto request = with_extension("keyUsage", "");
         set_extension(request, "extendedKeyUsage", "");
         trust_changed_server(ask, request);
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
