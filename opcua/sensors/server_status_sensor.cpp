#include "opcua/sensors/server_status_sensor.hpp"

#include "common/catalogue/definitions.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using unit = libzunohelper::dynamic_channel::unit_code;
using mode = libzunohelper::dynamic_channel::value_mode;

namespace {

enum channel : std::int32_t { state = 0, uptime = 1, session_count = 2 };

constexpr std::array<fixed_channel, 2> status_channels{{
    {.id = state, .name = catalogue::channel::state, .lookup = "server_state"},
    {.id = uptime, .name = catalogue::channel::uptime, .unit = unit::time_span},
}};

/// Positions in status_node_ids.
enum status_node : std::size_t { start_time, current_time, server_state, enabled_flag };

// What the nodes hold: OPC 10000-5, 12.10 (ServerStatusDataType) and 6.3.3 (ServerDiagnosticsType).
constexpr std::array<std::string_view, 4> status_node_ids{
    "ns=0;i=2257", // ServerStatus.StartTime
    "ns=0;i=2258", // ServerStatus.CurrentTime
    "ns=0;i=2259", // ServerStatus.State
    "ns=0;i=2294", // ServerDiagnostics.EnabledFlag
};

constexpr fixed_channel current_count(std::int32_t id, const libi18n::message_definition& name) {
    return {.id = id, .name = name, .unit = unit::count, .mode = mode::absolute};
}

constexpr fixed_channel growing_count(std::int32_t id, const libi18n::message_definition& name) {
    return {.id = id, .name = name, .unit = unit::count, .mode = mode::difference};
}

// The counters of ServerDiagnosticsSummary: OPC 10000-5, 12.9.
constexpr std::array<channel_node, 8> diagnostics{{
    {"ns=0;i=2277", current_count(session_count, catalogue::channel::session_count)},
    {"ns=0;i=3705", growing_count(3, catalogue::channel::rejected_session_count)},
    {"ns=0;i=2281", growing_count(4, catalogue::channel::session_timeout_count)},
    {"ns=0;i=2282", growing_count(5, catalogue::channel::session_abort_count)},
    {"ns=0;i=2279", growing_count(6, catalogue::channel::security_rejected_session_count)},
    {"ns=0;i=2288", growing_count(7, catalogue::channel::rejected_requests_count)},
    {"ns=0;i=2287", growing_count(8, catalogue::channel::security_rejected_requests_count)},
    {"ns=0;i=2285", current_count(9, catalogue::channel::subscription_count)},
}};

} // namespace

server_status_sensor::server_status_sensor(
    std::int32_t id,
    const libzunohelper::sensor_data_wrapper& data,
    std::shared_ptr<libzunohelper::service_container> services
)
    : node_sensor{id, data, std::move(services), display_name},
      status_nodes_{make_nodes(status_node_ids)},
      diagnostics_nodes_{make_nodes(diagnostics, &channel_node::node_id)} {
    define_channels(channels(), status_channels);
}

std::vector<fixed_channel> server_status_sensor::all_channels() {
    std::vector<fixed_channel> all(status_channels.begin(), status_channels.end());
    std::ranges::transform(diagnostics, std::back_inserter(all), &channel_node::channel);
    return all;
}

void server_status_sensor::execute_sensor_scan() {
    log("Begin reading nodes.");
    read(status_nodes_);
    auto result = begin_result();
    result.set_value(state, status_nodes_.at(server_state).value_as_int64());
    // Both times are the server's own and are cut to whole seconds before the difference is taken.
    result.set_value(
        uptime,
        status_nodes_.at(current_time).value_as_int64() -
            status_nodes_.at(start_time).value_as_int64()
    );
    if (status_nodes_.at(enabled_flag).value_as_bool()) {
        add_diagnostics(result);
    } else if (channels().is_defined(session_count)) {
        report_missing_diagnostics(result);
    }
    send(result);
}

/// The counters' channels are defined when the server is first seen to publish them, even if the
/// host learns of them only when their values could be read: from then on a server without them has
/// stopped publishing them.
void server_status_sensor::add_diagnostics(libzunohelper::sensor_scan_result& result) {
    if (!channels().is_defined(session_count)) {
        for (const channel_node& row : diagnostics) {
            define_channel(channels(), row.channel);
        }
    }
    read(diagnostics_nodes_);
    set_channels(result, diagnostics, diagnostics_nodes_);
}

void server_status_sensor::report_missing_diagnostics(libzunohelper::sensor_scan_result& result
) const {
    log("DiagnosticSummary got disabled after it was enabled.");
    result.set_message(libi18n::i18n_msg{
        catalogue::opcua::opcua_server_diagnostics_disabled_afterwards});
    result.set_response_code(libzunohelper::scan_response_codes::warning);
}

} // namespace tarvik::monitoring_modules::opcua
