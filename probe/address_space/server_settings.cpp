#include "probe/address_space/server_settings.hpp"

#include "common/libexception/exception.hpp"
#include "probe/given_settings.hpp"
#include "probe/nearest_names.hpp"
#include "probe/probe_error.hpp"
#include "probe/secret_file.hpp"
#include "probe/secrets.hpp"
#include "probe/settings_record.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::vector<std::string> known_keys() {
    return {
        host_of_sensor,
        "credentials.connection_opcua.port",
        "credentials.connection_opcua.server_name",
        "credentials.connection_security.security_mode",
        "credentials.connection_security.security_policy",
        "credentials.connection_security.client_certificate",
        "credentials.connection_security.client_key",
        "credentials.connection_security.client_key_password",
        "credentials.user_authentication.user_auth_mode",
        "credentials.user_authentication.user",
        "credentials.user_authentication.password"};
}

/// @return the full key
[[nodiscard]] std::string resolve(const given_setting& given) {
    const std::vector<std::string> known = known_keys();
    const auto found = std::ranges::find_if(known, [&given](const std::string& key) {
        return key == given.key || key.ends_with("." + given.key);
    });
    if (found == known.end()) {
        throw probe_error{
            exit_code::usage,
            (given.file.empty() ? "--set " : "--set-file ") + given.key +
                ": a connection has no such setting" +
                did_you_mean(nearest_names(given.key, known))};
    }
    return *found;
}

void add(settings& to, const given_setting& given, console& terminal) {
    const std::string key = resolve(given);
    if (names_secret(key) && given.open_to_all) {
        terminal.line(open_secret_warning(given.file));
    }
    to.insert_or_assign(key, given.file.empty() ? given.text : without_line_end(given.text));
}

} // namespace

opcua::client_settings
server_settings(const connection_arguments& arguments, std::uint32_t timeout, console& terminal) {
    settings values = connection_settings(arguments, read_secrets(arguments, terminal));
    for (const given_setting& given : read_given(arguments)) {
        add(values, given, terminal);
    }
    libzunohelper::settings_reader::texts texts;
    for (const auto& [key, text] : values) {
        texts.emplace(key, libzunohelper::secure_string{text});
    }
    try {
        const libzunohelper::settings_reader reader{std::move(texts)};
        opcua::client_settings result{opcua::settings::parse_connection(reader)};
        result.timeout_s = timeout;
        return result;
    } catch (const libexception::exception& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
}

} // namespace tarvik::monitoring_modules::probe
