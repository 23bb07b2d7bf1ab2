#include "probe/serve/serve_config.hpp"

#include "host/settings_record.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return "plc-7:4840 (operator, sign_encrypt)"
[[nodiscard]] std::string connection_name(const server_address& server, const settings& values) {
    std::string details;
    for (const char* key :
         {"credentials.connection_opcua.server_name",
          "credentials.user_authentication.user",
          "credentials.connection_security.security_mode"}) {
        const auto found = values.find(key);
        if (found != values.end() && !found->second.empty() && found->second != "none") {
            details += (details.empty() ? "" : ", ") + found->second;
        }
    }
    return details.empty() ? server.text() : server.text() + " (" + details + ")";
}

} // namespace

sensor_plan make_plan(
    const std::string& name,
    const scan_module& module,
    const server_address& server,
    std::chrono::milliseconds interval
) {
    settings values = module.settings;
    values.insert_or_assign(host_of_sensor, server.host);
    values.insert_or_assign("credentials.connection_opcua.port", std::to_string(server.port));
    if (server.host.find(':') != std::string::npos) {
        values.insert_or_assign("ipversion", "IPv6");
    }
    return {
        name,
        module.kind,
        connection_name(server, values),
        record(module.kind, values),
        record("endpoint_validation_check", values),
        interval};
}

} // namespace tarvik::monitoring_modules::probe
