#include "exporter/target_path.hpp"

#include "host/settings_record.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return the path of the settings as URLs have it; empty: none
[[nodiscard]] std::string path_of(const scan_module& module) {
    const auto found = module.settings.find(keys::path);
    const std::string path = found == module.settings.end() ? "" : found->second;
    return path.starts_with('/') ? path.substr(1) : path;
}

} // namespace

bool has_path_of(const scan_module& module, const server_address& server) {
    return server.path.empty() || server.path == path_of(module);
}

server_address read_target(const yaml_value& value, const scan_module* module) {
    auto server = parse_address(value.text());
    if (!server) {
        value.fail(parse_server(value.text()).problem);
    }
    if (module != nullptr && !path_of(*module).empty() && !has_path_of(*module, *server)) {
        value.fail("the module's settings name another path; name it once");
    }
    return *std::move(server);
}

void put_server(std::map<std::string, std::string>& values, const server_address& server) {
    values.insert_or_assign(keys::host_of_sensor, server.host);
    values.insert_or_assign(keys::port, std::to_string(server.port));
    if (!server.path.empty()) {
        values.insert_or_assign(keys::path, server.path);
    }
    if (server.host.find(':') != std::string::npos) {
        values.insert_or_assign("ipversion", "IPv6");
    }
}

} // namespace tarvik::monitoring_modules::probe
