#include "probe/given_settings.hpp"

#include "probe/probe_error.hpp"
#include "probe/secret_file.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return what stands before and after the first "="
[[nodiscard]] std::pair<std::string, std::string>
split(const std::string& option, const std::string& argument, const char* shape) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw probe_error{exit_code::usage, option + " " + argument + ": expected " + shape};
    }
    return {argument.substr(0, equals), argument.substr(equals + 1)};
}

} // namespace

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
    throw probe_error{
        exit_code::usage,
        "--set " + key + ": secrets come from files or the environment; --set-file " + key +
            "=PATH takes any of them"};
}

bool names_secret(std::string_view key) {
    constexpr auto secrets = std::to_array<std::string_view>(
        {"password", "client_key", "client_key_password", "tarvikcloudapikey"}
    );
    const std::string_view name = key.substr(key.rfind('.') + 1);
    return std::ranges::find(secrets, name) != secrets.end();
}

} // namespace tarvik::monitoring_modules::probe
