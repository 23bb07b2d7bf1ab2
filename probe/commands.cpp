#include "probe/commands.hpp"

#include "host/connection_arguments.hpp"
#include "host/settings_record.hpp"
#include "trust/pki_folder.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Settings that are given by their keys replace what the options say.
void add_own_certificate(settings_draft& draft, const connection_arguments& connection) {
    settings whole;
    for (const char* key : {keys::security_mode, keys::certificate}) {
        if (const auto found = draft.values.find(key); found != draft.values.end()) {
            whole.insert(*found);
        }
        for (const given_setting& given : draft.given) {
            if (std::string{key}.ends_with("." + given.key) || given.key == key) {
                whole[key] = given.text;
            }
        }
    }
    const bool had_one = whole.contains(keys::certificate);
    add_own_certificate(whole, pki_folder{pki_path(connection.pki)});
    if (!had_one) {
        draft.values.merge(whole);
    }
}

/// @param values what is not about the connection
[[nodiscard]] settings_draft complete(
    settings values,
    const connection_arguments& connection,
    console& terminal,
    const char* host_key = host_of_sensor
) {
    values.merge(connection_settings(connection, terminal.writer(), host_key));
    settings_draft draft{std::move(values), read_given(connection)};
    add_own_certificate(draft, connection);
    return draft;
}

} // namespace

settings_draft draft_of(const scan_options& options, console& terminal) {
    settings values;
    if (options.log.logging) {
        values.emplace("logging", "enabled");
    }
    add_channels(values, options.channels, options.message_node);
    return complete(std::move(values), options.connection, terminal);
}

settings_draft draft_of(const check_options& options, console& terminal) {
    // A check tells its reasons in the log only.
    return complete({{"logging", "enabled"}}, options.connection, terminal);
}

settings_draft draft_of(const notify_options& options, console& terminal) {
    settings values;
    add_notification(values, options.content, options.log.level.value_or(severity_warning));
    return complete(std::move(values), options.connection, terminal, host_of_notification);
}

std::int32_t shown_severity(const scan_options& options) {
    return options.log.level.value_or(options.log.logging ? severity_debug : severity_warning);
}

} // namespace tarvik::monitoring_modules::probe
