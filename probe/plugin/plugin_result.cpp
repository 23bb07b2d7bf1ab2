#include "probe/plugin/plugin_result.hpp"

#include "host/connection_state.hpp"
#include "host/value_format.hpp"
#include "probe/plugin/plugin_output.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t part_characters = 64; // of a name or a value in a finding

[[nodiscard]] std::string with_unit(const formatted_value& value) {
    return value.number + (value.unit.empty() ? "" : " ") + value.unit;
}

[[nodiscard]] std::string finding_text(const judged_channel& channel) {
    // Shortened, so that a long name leaves room for what is wrong.
    const std::string value =
        limit_tells_value(channel) ? "" : " " + plain(value_text(channel), part_characters);
    return plain(channel.view.name, part_characters) + value + " " + channel.view.verdict.text;
}

void add_findings(plugin_result& result, const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) {
        result.findings.push_back({plugin_state::unknown, problem});
    }
    for (const judged_channel& channel : result.channels) {
        if (channel.state() != plugin_state::ok) {
            result.findings.push_back({channel.state(), finding_text(channel), true});
        }
    }
}

[[nodiscard]] plugin_state state_of(channel_state state) noexcept {
    return state == channel_state::error     ? plugin_state::critical
           : state == channel_state::warning ? plugin_state::warning
                                             : plugin_state::ok;
}

/// CRITICAL, then UNKNOWN (it may hide a CRITICAL), then WARNING.
[[nodiscard]] bool matters_more(const plugin_finding& left, const plugin_finding& right) {
    constexpr std::array weights{0, 1, 3, 2};
    return weights.at(static_cast<std::size_t>(left.state)) >
           weights.at(static_cast<std::size_t>(right.state));
}

} // namespace

plugin_state judged_channel::state() const noexcept {
    const channel_verdict& verdict = view.verdict;
    return verdict.cannot_tell() ? plugin_state::unknown : state_of(verdict.state);
}

plugin_state state_of_error(const std::string& identity, const plugin_demands& demands) {
    const scan_fault fault = fault_of(identity);
    return fault == scan_fault::connection ? demands.unreachable
           : fault == scan_fault::settings ? plugin_state::unknown
                                           : plugin_state::critical;
}

void add_finding(plugin_result& result, plugin_finding finding) {
    result.findings.push_back(std::move(finding));
    std::ranges::stable_sort(result.findings, matters_more);
    result.state = result.findings.front().state;
}

bool needs_growth(const std::vector<judged_channel>& channels) {
    return std::ranges::any_of(channels, [](const judged_channel& channel) {
        return channel.view.verdict.cause == verdict_cause::no_growth;
    });
}

plugin_result judge(
    const scan_result& scan,
    std::vector<judged_channel> channels,
    const std::vector<std::string>& problems,
    const plugin_demands& demands
) {
    plugin_result result;
    const std::string code =
        scan.error_code == 0 ? "" : " (error code " + std::to_string(scan.error_code) + ")";
    const std::string message = scan.text == "OK" ? "" : scan.text;
    const std::string reason = (message.empty() ? "the sensor gives no reason" : message) + code;
    if (scan.state == scan_state::error) {
        result.findings.push_back({state_of_error(scan.identity, demands), reason});
    } else {
        result.channels = std::move(channels);
        add_findings(result, problems);
        const auto stated = find_state(demands.message, scan.text);
        const plugin_state state = stated                              ? state_of(*stated)
                                   : scan.state == scan_state::warning ? plugin_state::warning
                                                                       : plugin_state::ok;
        if (state == plugin_state::ok) {
            result.message = message;
        } else {
            result.findings.push_back({state, stated ? "the message is " + scan.text : reason});
        }
    }
    std::ranges::stable_sort(result.findings, matters_more);
    result.state = result.findings.empty() ? plugin_state::ok : result.findings.front().state;
    return result;
}

bool limit_tells_value(const judged_channel& channel) {
    const verdict_cause cause = channel.view.verdict.cause;
    return cause == verdict_cause::lookup || cause == verdict_cause::stated;
}

std::string value_text(const judged_channel& channel) {
    const channel_view& view = channel.view;
    if (view.difference && !view.growth) {
        const channel_definition& definition = channel.definition;
        return with_unit(format_value(view.raw, definition.unit, definition.multiplier));
    }
    return with_unit(view.value) + (view.lookup_text ? " (" + format_number(view.raw) + ")" : "");
}

} // namespace tarvik::monitoring_modules::probe
