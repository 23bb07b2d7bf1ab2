// Who gets in: every mode and identity, as a sensor and as the two checks see it; and what the
// certificate sensor makes of the server's certificate.

#include "tests/interop/interop_support.hpp"

#include <algorithm>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {
namespace {

using json = nlohmann::json;
using texts = std::vector<std::string>;

std::string not_connected(const std::string& status) {
    return "The sensor could not connect to the OPC UA server (" + status + ").";
}

constexpr server_options users_only{
    .sign = true, .sign_encrypt = true, .anonymous = false, .users = true};
constexpr server_options nobody_known{.sign_encrypt = true};
constexpr server_options encrypted_only{.none = false, .sign_encrypt = true, .users = true};
constexpr server_options distrusting{.sign = true, .sign_encrypt = true, .trust_clients = false};

const login wrong_password{.user = "user1", .password = "password2"};
const login unknown_user{.user = "user2", .password = "password1"};
const login without_policy{.policy = "none"};
const login locked_key{.user = "user1", .password = "password1", .key_password = "k3y"};

struct outcome {
    std::string error{};      ///< of a sensor; empty: it measures
    bool has_endpoint = true; ///< the endpoint check's answer
};

/// One login at one kind of server.
struct login_row {
    const char* name;
    server_options server;
    login as;
    const char* mode;
    outcome expected{};
    std::map<maker, outcome> elsewhere{}; ///< whose servers lead to another
    /// Of the endpoint check's log: regular expressions, each with the severity before it.
    texts lines{};
};

std::ostream& operator<<(std::ostream& out, const login_row& row) {
    return out << row.name;
}

const outcome works{};
const outcome refused{not_connected("BadUserAccessDenied")};
const outcome no_match{not_connected("BadIdentityTokenRejected"), false};
const outcome untrusted{not_connected("BadCertificateUntrusted")};
const outcome no_trust{not_connected("BadSecurityChecksFailed")};

const texts wrong_mode{
    "7 Rejecting Endpoint opc.tcp://127.0.0.1:[0-9]+/?.* with SecurityMode SignAndEncrypt and "
    "SecurityPolicy http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256: security mode "
    "doesn't match",
    "3 No matching endpoint found",
    "0 The sensor could not find the endpoint .*"};
const texts wrong_identity{
    "7 Rejecting identity token with UserTokenType UserName and SecurityPolicy "
    "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256: configuration doesn't match"};
const texts selected{
    "6 Selected Endpoint .* with SecurityMode SignAndEncrypt and SecurityPolicy .*#Basic256Sha256",
    "6 Selected identity token with UserTokenType UserName.*"};

// clang-format off
const login_row rows[] = {
    {"anonymous", all_modes, anonymous, "none"},
    {"anonymous", all_modes, anonymous, "sign"},
    {"anonymous", all_modes, anonymous, "sign_encrypt"},
    {"user", all_modes, user1, "none"},
    {"user", all_modes, user1, "sign"},
    {"user", all_modes, user1, "sign_encrypt", works, {}, selected},
    {"user_with_locked_key", all_modes, locked_key, "sign_encrypt"},
    {"wrong_password", all_modes, wrong_password, "none", refused},
    {"wrong_password", all_modes, wrong_password, "sign", refused},
    {"wrong_password", all_modes, wrong_password, "sign_encrypt", refused},
    {"unknown_user", all_modes, unknown_user, "sign_encrypt", refused},
    {"policy_none", all_modes, without_policy, "sign", no_match},
    {"policy_none", all_modes, without_policy, "sign_encrypt", no_match},
    {"anonymous_where_users_only", users_only, anonymous, "none", no_match, {}, wrong_identity},
    {"anonymous_where_users_only", users_only, anonymous, "sign_encrypt", no_match},
    {"user_where_users_only", users_only, user1, "none"},
    {"user_where_users_only", users_only, user1, "sign"},
    {"user_where_users_only", users_only, user1, "sign_encrypt"},
    // node-opcua offers user names even where it knows no user.
    {"user_where_there_are_none", nobody_known, user1, "none", no_match, {{maker::node_opcua, refused}}},
    {"user_where_there_are_none", nobody_known, user1, "sign_encrypt", no_match, {{maker::node_opcua, refused}}},
    {"sign_where_it_is_not_offered", nobody_known, anonymous, "sign", no_match},
    {"none_where_encrypted_only", encrypted_only, anonymous, "none", no_match, {}, wrong_mode},
    {"encrypted_where_encrypted_only", encrypted_only, user1, "sign_encrypt"},
    {"untrusted", distrusting, anonymous, "none"},
    // Milo's server says why before it closes.
    {"untrusted", distrusting, anonymous, "sign", no_trust, {{maker::milo, untrusted}}},
    {"untrusted", distrusting, anonymous, "sign_encrypt", no_trust, {{maker::milo, untrusted}}},
    {"where_nothing_is_secured", unsecured, user1, "none"},
    {"where_nothing_is_secured", unsecured, user1, "sign_encrypt", no_match},
};
// clang-format on

/// The lines since the last look, with their severity before them: "7 Rejecting ...".
texts log_of(recording_host& host) {
    texts lines;
    for (const log_line& line : host.take_log()) {
        lines.push_back(std::to_string(line.severity) + " " + line.text);
    }
    return lines;
}

/// What an unexpected outcome ended with.
std::string end_of(const texts& lines) {
    constexpr std::size_t shown = 30;
    std::string text;
    for (std::size_t i = lines.size() - std::min(lines.size(), shown); i < lines.size(); ++i) {
        text += lines[i] + "\n";
    }
    return text;
}

class logging_in : public testing::TestWithParam<std::tuple<maker, login_row>> {};

TEST_P(logging_in, works_or_tells_why) {
    const auto& [made_by, row] = GetParam();
    const tested_server& server = running_server(made_by, row.server);
    const setting_map settings = custom_settings(
        server.port(), {server.node_id("Pump.Speed")}, settings_for(with_mode(row.as, row.mode))
    );
    const auto found = row.elsewhere.find(made_by);
    const outcome expected = found != row.elsewhere.end() ? found->second : row.expected;
    const bool measures = expected.error.empty();
    recording_host host;
    host.record_log();

    const json result = scan_once(host, "custom_sensor", settings);
    EXPECT_EQ(error_of(result), expected.error) << end_of(log_of(host));
    EXPECT_EQ(result["channels"].size(), measures ? 1U : 0U);

    static_cast<void>(host.take_log());
    EXPECT_EQ(answers_yes(host, "connection_check", settings), measures);
    texts reasons = log_of(host);
    std::erase_if(reasons, [](const std::string& line) { return !line.starts_with("0 "); });
    EXPECT_EQ(reasons, measures ? texts{} : texts{"0 " + expected.error});

    const bool has_endpoint = answers_yes(host, "endpoint_validation_check", settings);
    const auto endpoint_lines = log_of(host);
    EXPECT_EQ(has_endpoint, expected.has_endpoint) << end_of(endpoint_lines);
    for (const std::string& line : row.lines) {
        EXPECT_THAT(endpoint_lines, testing::Contains(testing::MatchesRegex(line)));
    }
}

std::string name_of_case(const testing::TestParamInfo<logging_in::ParamType>& info) {
    const auto& [made_by, row] = info.param;
    return name_of(made_by) + "_" + row.name + "_" + row.mode;
}

INSTANTIATE_TEST_SUITE_P(
    servers, logging_in, testing::Combine(all_makers, testing::ValuesIn(rows)), name_of_case
);

using refused_login = by_maker;

TEST_P(refused_login, leaves_nothing_behind) {
    tested_server& server = running_server(GetParam(), all_modes);
    host_.record_log();
    constexpr int rounds = 6; // of six logins each
    for (const char* mode : {"none", "sign_encrypt"}) {
        const setting_map settings = custom_settings(
            server.port(),
            {server.node_id("Pump.Speed")},
            settings_for(with_mode(wrong_password, mode))
        );
        setting_map notification = settings;
        notification.merge(setting_map{
            {"credentials.connection_opcua.host", "127.0.0.1"},
            {"target", server.node_id("Write.Boolean")},
            {"write.type", "Boolean"},
            {"message", "True"},
            {"log_level", "3"}});
        for (int i = 0; i < rounds; ++i) {
            ASSERT_NE(error_of(scan_once(host_, "custom_sensor", settings)), "");
            ASSERT_FALSE(answers_yes(host_, "connection_check", settings));
            ASSERT_EQ(host_.meta_scan(7, 1, make_record("opcua_notification", notification)), 2U);
            static_cast<void>(host_.take_message());
        }
    }
    EXPECT_TRUE(sessions_end(server, std::chrono::seconds{10}));
    const setting_map right = custom_settings(
        server.port(), {server.node_id("Pump.Speed")}, settings_for(with_mode(user1, "none"))
    );
    EXPECT_EQ(error_of(scan_once(host_, "custom_sensor", right)), "");
}

INSTANTIATE_TEST_SUITE_P(servers, refused_login, all_makers, name_of_maker);

using certificate_sensor = by_maker;

TEST_P(certificate_sensor, shows_the_servers_certificate) {
    tested_server& server = running_server(GetParam(), all_modes);
    const certificate_facts facts = certificate_of(GetParam());
    const std::string expected = std::string{"Certificate Common Name: "} + facts.common_name +
                                 " - Certificate Thumbprint: " + server.thumbprint();
    for (const char* mode : {"none", "sign", "sign_encrypt"}) {
        const json result = scan_once(
            host_,
            "certificate_sensor",
            custom_settings(server.port(), {}, settings_for(with_mode(anonymous, mode)))
        );
        EXPECT_EQ(result["message"]["text"], expected) << mode;
        ASSERT_EQ(result["channels"].size(), 3U) << result;
        // The certificate was made moments ago, and whole days are counted.
        EXPECT_THAT(
            result["channels"][0]["value"], testing::AnyOf(facts.valid_days, facts.valid_days - 1)
        );
        EXPECT_EQ(result["channels"][1]["value"], facts.key_bits);
        EXPECT_EQ(result["channels"][2]["value"], 1);
    }
}

TEST_P(certificate_sensor, needs_a_certificate_at_the_endpoint) {
    const tested_server& server = running_server(GetParam(), {});
    const json result = scan_once(host_, "certificate_sensor", custom_settings(server.port(), {}));
    // All others show their certificate at unsecured endpoints too.
    EXPECT_EQ(
        error_of(result),
        GetParam() == maker::open62541 ? "The sensor could not retrieve the server certificate."
                                       : ""
    );
}

INSTANTIATE_TEST_SUITE_P(servers, certificate_sensor, all_makers, name_of_maker);

} // namespace
} // namespace tarvik::monitoring_modules::tests
