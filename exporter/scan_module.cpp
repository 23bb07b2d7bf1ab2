#include "exporter/scan_module.hpp"

#include "exporter/target_path.hpp"
#include "host/settings_record.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// Names of users are no one's concern who reads metrics, so a number tells them apart.
/// @return "plc-7:4840 (user, sign_encrypt)", "plc-7:4840 (user 2, sign_encrypt)"
[[nodiscard]] std::string connection_name(
    const server_address& server, const std::map<std::string, std::string>& values, std::size_t user
) {
    std::string details;
    for (const char* key : {keys::path, keys::user, keys::security_mode}) {
        const auto found = values.find(key);
        if (found == values.end() || found->second.empty() || found->second == "none") {
            continue;
        }
        details += details.empty() ? "" : ", ";
        if (key == keys::user) {
            details += user > 1 ? "user " + std::to_string(user) : "user";
        } else {
            details += found->second;
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
    auto values = module.settings;
    put_server(values, server);
    return {
        name,
        module.kind,
        connection_name(server, values, module.user),
        record(module.kind, values),
        record("endpoint_validation_check", values),
        interval,
        module.trust,
        module.rules};
}

} // namespace tarvik::monitoring_modules::probe
