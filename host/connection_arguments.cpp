#include "host/connection_arguments.hpp"

#include "host/probe_error.hpp"
#include "text/words.hpp"

#include <array>
#include <cstdlib>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string read_secret(const std::string& path, const warning_receiver& warn) {
    if (is_open_to_all(path)) {
        warn(open_secret_warning(path));
    }
    return read_file(path);
}

[[nodiscard]] std::string
read_password(const std::string& path, const char* variable, const warning_receiver& warn) {
    if (path.empty()) {
        const char* value = std::getenv(variable);
        return value == nullptr ? "" : value;
    }
    return without_line_end(read_secret(path, warn));
}

/// @return what stands before and after the first "="
[[nodiscard]] std::pair<std::string, std::string>
split(const std::string& option, const std::string& argument, const char* shape) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw usage_error{option + " " + argument + ": expected " + shape};
    }
    return {argument.substr(0, equals), argument.substr(equals + 1)};
}

} // namespace

settings connection_settings(
    const connection_arguments& arguments, const warning_receiver& warn, const char* host_key
) {
    const bool by_mode = arguments.security_policy.empty() && arguments.security_mode != "none";
    settings result{
        {keys::port, std::to_string(arguments.port)},
        {keys::path, arguments.path},
        {keys::security_mode, arguments.security_mode},
        {keys::security_policy, by_mode ? "Basic256Sha256" : arguments.security_policy}};
    if (!arguments.user.empty()) {
        result[keys::user_mode] = "username_password";
        result[keys::user] = arguments.user;
        result[keys::password] = read_password(arguments.password_file, "OPCUA_PASSWORD", warn);
    }
    if (!arguments.client_certificate_file.empty()) {
        result[keys::certificate] = read_file(arguments.client_certificate_file);
    }
    if (!arguments.client_key_file.empty()) {
        result[keys::key] = read_secret(arguments.client_key_file, warn);
        result[keys::key_password] =
            read_password(arguments.client_key_password_file, "OPCUA_CLIENT_KEY_PASSWORD", warn);
    }
    std::erase_if(result, [](const auto& each) { return each.second.empty(); });
    result[host_key] = arguments.host;
    return result;
}

std::vector<given_setting> read_given(const connection_arguments& arguments) {
    std::vector<given_setting> given;
    for (const std::string& argument : arguments.raw) {
        auto [key, text] = split("--set", argument, "KEY=VALUE");
        if (names_secret(key)) {
            refuse_secret(key);
        }
        given.push_back({std::move(key), std::move(text), "", false});
    }
    for (const std::string& argument : arguments.raw_files) {
        auto [key, path] = split("--set-file", argument, "KEY=PATH");
        std::string text = read_file(path);
        const bool open = is_open_to_all(path);
        given.push_back({std::move(key), std::move(text), std::move(path), open});
    }
    return given;
}

void refuse_secret(const std::string& key) {
    throw usage_error{
        "--set " + key + ": secrets come from files or the environment; --set-file " + key +
        "=PATH takes any of them"};
}

bool names_secret(std::string_view key) {
    constexpr auto secrets = std::to_array<std::string_view>(
        {"password", "client_key", "client_key_password", "tarvikcloudapikey"}
    );
    return contains(secrets, key.substr(key.rfind('.') + 1));
}

void take_host_apart(connection_arguments& connection, bool port_given) {
    const std::string typed = connection.host;
    const parsed_server parsed = parse_server(typed);
    if (!parsed.server) {
        throw usage_error{"--host " + typed + ": " + parsed.problem};
    }
    const named_server& named = *parsed.server;
    const auto refuse_two = [&typed](const std::string& option, const std::string& value) {
        throw usage_error{
            "--host " + typed + " and " + option + " " + value + " differ; name it once"};
    };
    if (port_given && named.port && *named.port != connection.port) {
        refuse_two("--port", std::to_string(connection.port));
    }
    const bool same = connection.path == named.path || connection.path == "/" + named.path;
    if (!named.path.empty() && !connection.path.empty() && !same) {
        refuse_two("--path", connection.path);
    }
    connection.host = named.host;
    connection.port = named.port.value_or(connection.port);
    connection.path = named.path.empty() ? connection.path : named.path;
}

std::string waiting_for(const connection_arguments& connection) {
    return "waiting for " + address_of(connection);
}

std::string address_of(const connection_arguments& connection) {
    return host_and_port(connection.host, connection.port);
}

} // namespace tarvik::monitoring_modules::probe
