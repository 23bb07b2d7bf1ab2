#include "host/connection_arguments.hpp"

#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void warn_if_open(const std::string& path, const warning_receiver& warn) {
    if (is_open_to_all(path)) {
        warn(open_secret_warning(path));
    }
}

[[nodiscard]] std::string
read_password(const std::string& path, const char* variable, const warning_receiver& warn) {
    if (path.empty()) {
        const char* value = std::getenv(variable);
        return value == nullptr ? "" : value;
    }
    warn_if_open(path, warn);
    return without_line_end(read_file(path));
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

connection_secrets
read_secrets(const connection_arguments& arguments, const warning_receiver& warn) {
    connection_secrets secrets;
    if (!arguments.user.empty()) {
        secrets.password = read_password(arguments.password_file, "OPCUA_PASSWORD", warn);
    }
    if (!arguments.client_certificate_file.empty()) {
        secrets.client_certificate = read_file(arguments.client_certificate_file);
    }
    if (!arguments.client_key_file.empty()) {
        warn_if_open(arguments.client_key_file, warn);
        secrets.client_key = read_file(arguments.client_key_file);
        secrets.client_key_password =
            read_password(arguments.client_key_password_file, "OPCUA_CLIENT_KEY_PASSWORD", warn);
    }
    return secrets;
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

std::string waiting_for(const connection_arguments& connection) {
    return "waiting for " + address_of(connection);
}

std::string address_of(const connection_arguments& connection) {
    const std::string& host = connection.host;
    const bool needs_brackets = host.find(':') != std::string::npos && !host.starts_with('[');
    return (needs_brackets ? "[" + host + "]" : host) + ":" + std::to_string(connection.port);
}

} // namespace tarvik::monitoring_modules::probe
