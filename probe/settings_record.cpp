#include "probe/settings_record.hpp"

#include "probe/probe_error.hpp"
#include "probe/terminal_text.hpp"

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* opcua = "credentials.connection_opcua.";
constexpr const char* security = "credentials.connection_security.";
constexpr const char* authentication = "credentials.user_authentication.";

void set(settings& to, std::string_view group, const char* name, const std::string& text) {
    if (!text.empty()) {
        to.insert_or_assign(std::string{group} + name, text);
    }
}

} // namespace

settings connection_settings(
    const connection_arguments& arguments, const connection_secrets& secrets, const char* host_key
) {
    settings result;
    result.emplace(host_key, arguments.host);
    set(result, opcua, "port", std::to_string(arguments.port));
    set(result, opcua, "server_name", arguments.path);
    set(result, security, "security_mode", arguments.security_mode);
    const bool secured = arguments.security_mode != "none";
    set(result,
        security,
        "security_policy",
        arguments.security_policy.empty() && secured ? "Basic256Sha256" : arguments.security_policy
    );
    set(result, security, "client_certificate", secrets.client_certificate);
    set(result, security, "client_key", secrets.client_key);
    set(result, security, "client_key_password", secrets.client_key_password);
    if (!arguments.user.empty()) {
        set(result, authentication, "user_auth_mode", "username_password");
        set(result, authentication, "user", arguments.user);
        set(result, authentication, "password", secrets.password);
    }
    return result;
}

void add_channels(
    settings& to, const std::vector<channel_argument>& channels, const std::string& message_node
) {
    set(to, "custom.sensor_message_custom.", "nodeid", message_node);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::string channel = "custom.connection_custom.channel" + std::to_string(i + 1);
        if (i > 0) { // the first channel has no switch
            to.insert_or_assign(channel, "enable");
        }
        if (!channels[i].name.empty()) {
            set(to, channel, "_settings", "manual");
            set(to, channel, "_name", channels[i].name);
        }
        set(to, channel, "_unit", channels[i].unit);
        set(to, channel, "_scale_factor", channels[i].scale);
        set(to, channel, "_nodeid", channels[i].node_id);
    }
}

void add_notification(settings& to, const notify_options& options) {
    to.insert_or_assign("target", options.target);
    to.insert_or_assign("message", options.message);
    to.insert_or_assign("write.type", options.type);
    if (options.timeout) {
        to.insert_or_assign("timeout", std::to_string(*options.timeout));
    }
    if (options.log.level) {
        to.insert_or_assign("log_level", std::to_string(*options.log.level));
    }
}

bool takes_generated_key_pair(const settings& values) {
    const auto mode = values.find(std::string{security} + "security_mode");
    return mode == values.end() || mode->second == "none";
}

bool takes_generated_key_pair(std::string_view record) {
    return takes_generated_key_pair(nlohmann::json::parse(record).at("settings").get<settings>());
}

std::string record(std::string_view kind, const settings& values) {
    for (const auto& [key, text] : values) {
        if (!is_utf8(key) || !is_utf8(text)) {
            throw probe_error{exit_code::usage, "The text of " + key + " is no UTF-8"};
        }
    }
    if (!is_utf8(kind)) {
        throw probe_error{exit_code::usage, "The kind is no UTF-8"};
    }
    return nlohmann::json{{"kind", kind}, {"settings", values}}.dump();
}

} // namespace tarvik::monitoring_modules::probe
