#include "probe/commands.hpp"

#include "host/connection_arguments.hpp"
#include "host/settings_record.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @param values what is not about the connection
[[nodiscard]] settings_draft complete(
    settings values,
    const connection_arguments& connection,
    console& terminal,
    const char* host_key = host_of_sensor
) {
    values.merge(
        connection_settings(connection, terminal.writer(), host_key)
    );
    return {std::move(values), read_given(connection)};
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
    add_notification(values, options.content, options.log.level);
    return complete(std::move(values), options.connection, terminal, host_of_notification);
}

std::int32_t shown_severity(const scan_options& options) {
    return options.log.level.value_or(options.log.logging ? severity_debug : severity_warning);
}

} // namespace tarvik::monitoring_modules::probe
