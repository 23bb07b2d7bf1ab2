// Notifications: what they leave in the server, and what they answer where it refuses.

#include "tests/interop/interop_support.hpp"

#include <map>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::tests {
namespace {

/// A notification, and what comes of it. Each begins with what those before it have left.
struct writing {
    const char* node;
    const char* type;
    const char* message;
    const char* held;    ///< by the node afterwards, as the server shows it; null: no such node
    std::string error{}; ///< how the answer's errors end; empty: none
    /// Whose servers say it with another status.
    std::map<maker, std::string> elsewhere{};
};

const std::string denied = "(BadUserAccessDenied).";

// clang-format off
const writing writings[] = {
    {"Write.Boolean", "Boolean", "True", "true"},
    {"Write.Boolean", "Boolean", "TRUE", "false"},
    {"Write.Boolean", "Boolean", "True", "true"},
    {"Write.Boolean", "Boolean", "1", "false"},
    {"Write.String", "String", " up 3 °C ", "\" up 3 °C \""},
    {"Write.String", "String", "", "\"\""},
    {"Write.Int64", "Integer64", "-9223372036854775808", "-9223372036854775808"},
    {"Write.Int64", "Integer64", "9000000000 rpm", "9000000000"},
    {"Write.Double", "FloatingPoint", "-inf", "-Infinity"},
    {"Write.Double", "FloatingPoint", "42.9 °C", "42.9"},
    {"Write.Boolean", "FloatingPoint", "1", "false", "(BadTypeMismatch)."},
    {"Write.String", "Boolean", "True", "\"\"", "(BadTypeMismatch)."},
    {"Write.Int64", "String", "5", "9000000000", "(BadTypeMismatch)."},
    {"Write.Double", "Integer64", "5", "42.9", "(BadTypeMismatch)."},
    {"Write.ReadOnly", "Boolean", "False", "true", "(BadNotWritable).", {{maker::asyncua, denied}, {maker::milo, denied}}},
    {"Write.Nowhere", "Boolean", "True", nullptr, "(BadNodeIdUnknown).", {{maker::asyncua, denied}}},
};
// clang-format on

class notification : public testing::TestWithParam<maker_and_mode> {};

TEST_P(notification, writes_or_tells_why_not) {
    const auto& [made_by, mode] = GetParam();
    tested_server& server = running_server(made_by, all_modes);
    setting_map settings = custom_settings(server.port(), {}, settings_for(with_mode(user1, mode)));
    settings.merge(setting_map{
        {"credentials.connection_opcua.host", "127.0.0.1"}, {"timeout", "5"}, {"log_level", "7"}});
    recording_host host;
    for (const writing& row : writings) {
        SCOPED_TRACE(row.type + std::string{" into "} + row.node);
        settings["target"] = server.node_id(row.node);
        settings["write.type"] = row.type;
        settings["message"] = row.message;
        const auto status = host.meta_scan(7, 1, make_record("opcua_notification", settings));
        EXPECT_EQ(status, row.error.empty() ? 0U : 2U);
        const nlohmann::json answer = host.take_message();
        EXPECT_EQ(answer["type"], "notification_response");
        EXPECT_EQ(answer["id"], 7);
        std::string errors;
        for (const auto& line : answer["log"]) {
            errors += line["severity"] <= 3 ? line["text"].get<std::string>() : "";
        }
        const auto found = row.elsewhere.find(made_by);
        EXPECT_THAT(
            errors, testing::EndsWith(found != row.elsewhere.end() ? found->second : row.error)
        );
        EXPECT_EQ(errors.empty(), row.error.empty()) << errors;
        EXPECT_GT(answer["log"].size(), 2U); // the client's own lines, too
        if (row.held != nullptr) {
            EXPECT_EQ(server.value_of(row.node), row.held);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    servers,
    notification,
    testing::Combine(all_makers, testing::Values("none", "sign_encrypt")),
    name_of_both
);

} // namespace
} // namespace tarvik::monitoring_modules::tests
