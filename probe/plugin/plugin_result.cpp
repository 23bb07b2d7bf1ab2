#include "probe/plugin/plugin_result.hpp"

#include "host/connection_state.hpp"
#include "host/value_format.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/plugin_range.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t part_characters = 64; // of a name or a value in a finding

[[nodiscard]] std::string with_unit(const formatted_value& value) {
    return value.number + (value.unit.empty() ? "" : " ") + value.unit;
}

[[nodiscard]] std::string limit_text(const judged_channel& channel, double limit) {
    const channel_unit& unit = channel.definition.unit;
    if (channel.definition.difference) {
        return with_unit(format_growth(limit, unit));
    }
    constexpr double exact_integers = 9'007'199'254'740'992.0;
    const bool whole = limit == std::trunc(limit) && std::abs(limit) < exact_integers;
    const channel_number number = whole ? channel_number{static_cast<std::int64_t>(limit)} : limit;
    return with_unit(format_value(number, unit, 1));
}

/// @return "between 10 °C and 20 °C", "at most 20 °C"
[[nodiscard]] std::string inside_text(const judged_channel& channel, const plugin_range& range) {
    if (std::isinf(range.start)) {
        return std::isinf(range.end) ? "any value" : "at most " + limit_text(channel, range.end);
    }
    const std::string start = limit_text(channel, range.start);
    return std::isinf(range.end) ? "at least " + start
                                 : "between " + start + " and " + limit_text(channel, range.end);
}

/// @return "is above 90 °C"; empty when the value is good
[[nodiscard]] std::string
broken(const judged_channel& channel, const std::optional<plugin_range>& range, double value) {
    switch (range ? range->side(value) : range_side::good) {
    case range_side::good:
        break;
    case range_side::below:
        return "is below " + limit_text(channel, range->start);
    case range_side::above:
        return "is above " + limit_text(channel, range->end);
    case range_side::inside:
        return "is " + inside_text(channel, *range);
    }
    return "";
}

struct level_verdict {
    std::string critical; ///< what is broken; empty: nothing
    std::string warning;
};

void set_state(judged_channel& channel, level_verdict verdict) {
    if (!verdict.critical.empty()) {
        channel.state = plugin_state::critical;
        channel.limit_text = std::move(verdict.critical);
    } else if (!verdict.warning.empty()) {
        channel.state = plugin_state::warning;
        channel.limit_text = std::move(verdict.warning);
    }
}

/// What the module's lookup says about the value.
[[nodiscard]] std::optional<lookup_value>
looked_up(const judged_channel& channel, const module_document& document) {
    const auto* integer = std::get_if<std::int64_t>(&channel.view.raw);
    return integer == nullptr || channel.definition.lookup.empty()
               ? std::nullopt
               : document.find(channel.definition.lookup, *integer);
}

/// @param given ranges from the command line
void judge_channel(
    judged_channel& channel,
    const std::optional<plugin_range>& given_warning,
    const std::optional<plugin_range>& given_critical,
    const module_document& document
) {
    const channel_limits& limits = channel.definition.limits;
    channel.warning = given_warning;
    channel.critical = given_critical;
    if (limits.enabled && !given_warning) {
        channel.warning = range_of_limits(limits.lower_warning, limits.upper_warning);
    }
    if (limits.enabled && !given_critical) {
        channel.critical = range_of_limits(limits.lower_error, limits.upper_error);
    }
    level_verdict verdict;
    if (channel.warning || channel.critical) {
        const bool growing = channel.definition.difference;
        const double value = growing ? channel.view.growth.value_or(NAN) : channel.view.scaled;
        if (std::isnan(value)) {
            channel.state = plugin_state::unknown;
            channel.limit_text = growing ? "has no growth: its counter began anew" : "is no number";
            return;
        }
        verdict = {
            broken(channel, channel.critical, value), broken(channel, channel.warning, value)};
    }
    if (const auto found = looked_up(channel, document)) {
        if (found->state == channel_state::error && !given_critical) {
            verdict.critical = "is " + found->text;
        } else if (found->state == channel_state::warning && !given_warning) {
            verdict.warning = "is " + found->text;
        }
    }
    set_state(channel, std::move(verdict));
}

[[nodiscard]] std::string finding_text(const judged_channel& channel) {
    // Shortened, so that a long name leaves room for what is wrong.
    const std::string value =
        limit_tells_value(channel) ? "" : " " + plain(value_text(channel), part_characters);
    return plain(channel.view.name, part_characters) + value + " " + channel.limit_text;
}

[[nodiscard]] assigned_ranges ranges_of(
    const measured_scan& scan, const std::vector<channel_range>& all, std::string_view option
) {
    std::vector<channel_range> ranges;
    std::ranges::copy_if(all, std::back_inserter(ranges), [option](const channel_range& range) {
        return range.option == option;
    });
    std::vector<named_channel> channels;
    channels.reserve(scan.views.size());
    for (const channel_view& view : scan.views) {
        channels.push_back({view.id, view.name});
    }
    return assign_ranges(ranges, channels);
}

void judge_channels(
    plugin_result& result,
    const measured_scan& scan,
    const plugin_demands& demands,
    const module_document& document
) {
    const assigned_ranges warning = ranges_of(scan, demands.ranges, "--warning");
    const assigned_ranges critical = ranges_of(scan, demands.ranges, "--critical");
    for (const assigned_ranges* ranges : {&warning, &critical}) {
        for (const std::string& problem : ranges->problems) {
            result.findings.push_back({plugin_state::unknown, problem});
        }
    }
    for (std::size_t i = 0; i < scan.views.size(); ++i) {
        judged_channel channel{
            .view = scan.views[i],
            .definition = scan.definitions[i],
            .warning = {},
            .critical = {},
            .limit_text = {}};
        judge_channel(channel, warning.of_channels[i], critical.of_channels[i], document);
        if (channel.state != plugin_state::ok) {
            result.findings.push_back({channel.state, finding_text(channel), true});
        }
        result.channels.push_back(std::move(channel));
    }
}

[[nodiscard]] plugin_state
state_of_error(const std::string& identity, const plugin_demands& demands) {
    switch (fault_of(identity)) {
    case scan_fault::connection:
        return demands.unreachable;
    case scan_fault::settings:
        return plugin_state::unknown;
    case scan_fault::server:
        break;
    }
    return plugin_state::critical;
}

} // namespace

bool needs_growth(const measured_scan& scan, const plugin_demands& demands) {
    const assigned_ranges warning = ranges_of(scan, demands.ranges, "--warning");
    const assigned_ranges critical = ranges_of(scan, demands.ranges, "--critical");
    for (std::size_t i = 0; i < scan.views.size(); ++i) {
        const channel_definition& definition = scan.definitions[i];
        if (definition.difference &&
            (definition.limits.enabled || warning.of_channels[i] || critical.of_channels[i])) {
            return true;
        }
    }
    return false;
}

plugin_result
judge(const measured_scan& scan, const plugin_demands& demands, const module_document& document) {
    plugin_result result;
    const scan_result& delivered = scan.result;
    const std::string code = delivered.error_code == 0
                                 ? ""
                                 : " (error code " + std::to_string(delivered.error_code) + ")";
    const std::string message = delivered.text == "OK" ? "" : delivered.text;
    const std::string reason = (message.empty() ? "the sensor gives no reason" : message) + code;
    if (delivered.state == scan_state::error) {
        result.findings.push_back({state_of_error(delivered.identity, demands), reason});
    } else {
        judge_channels(result, scan, demands, document);
        if (delivered.state == scan_state::warning) {
            result.findings.push_back({plugin_state::warning, reason});
        } else {
            result.message = message;
        }
    }
    std::ranges::stable_sort(
        result.findings,
        [](int left, int right) { return left > right; },
        [](const plugin_finding& finding) { return weight(finding.state); }
    );
    result.state = result.findings.empty() ? plugin_state::ok : result.findings.front().state;
    return result;
}

bool limit_tells_value(const judged_channel& channel) {
    return channel.view.lookup_text && channel.limit_text == "is " + *channel.view.lookup_text;
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
