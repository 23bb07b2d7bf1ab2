#include "probe/plugin/plugin_result.hpp"

#include "host/connection_state.hpp"
#include "host/value_format.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "text/nearest_names.hpp"

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

/// What the module's lookup says about the value.
[[nodiscard]] std::optional<lookup_value>
looked_up(const judged_channel& channel, const module_document& document) {
    const auto* integer = std::get_if<std::int64_t>(&channel.view.raw);
    return integer == nullptr || channel.definition.lookup.empty()
               ? std::nullopt
               : document.find(channel.definition.lookup, *integer);
}

[[nodiscard]] std::optional<plugin_range>
range_of_limits(const std::optional<double>& lower, const std::optional<double>& upper) {
    return lower || upper ? std::optional{plugin_range{
                                lower.value_or(-INFINITY), upper.value_or(INFINITY), false}}
                          : std::nullopt;
}

void judge_channel(judged_channel& channel, const module_document& document) {
    const bool warning_given = channel.warning.has_value();
    const bool critical_given = channel.critical.has_value();
    const channel_limits& limits = channel.definition.limits;
    if (limits.enabled && !warning_given) {
        channel.warning = range_of_limits(limits.lower_warning, limits.upper_warning);
    }
    if (limits.enabled && !critical_given) {
        channel.critical = range_of_limits(limits.lower_error, limits.upper_error);
    }
    const bool growing = channel.definition.difference;
    const double value = growing ? channel.view.growth.value_or(NAN) : channel.view.scaled;
    if ((channel.warning || channel.critical) && std::isnan(value)) {
        channel.state = plugin_state::unknown;
        channel.limit_text = growing ? "has no growth: its counter began anew" : "is no number";
        return;
    }
    const std::optional<lookup_value> found = looked_up(channel, document);
    const auto problem = [&](const auto& range, bool given, channel_state looked_for) {
        return found && found->state == looked_for && !given ? "is " + found->text
                                                             : broken(channel, range, value);
    };
    channel.limit_text = problem(channel.critical, critical_given, channel_state::error);
    if (!channel.limit_text.empty()) {
        channel.state = plugin_state::critical;
        return;
    }
    channel.limit_text = problem(channel.warning, warning_given, channel_state::warning);
    channel.state = channel.limit_text.empty() ? plugin_state::ok : plugin_state::warning;
}

[[nodiscard]] std::string finding_text(const judged_channel& channel) {
    // Shortened, so that a long name leaves room for what is wrong.
    const std::string value =
        limit_tells_value(channel) ? "" : " " + plain(value_text(channel), part_characters);
    return plain(channel.view.name, part_characters) + value + " " + channel.limit_text;
}

void judge_channels(
    plugin_result& result, const plugin_demands& demands, const module_document& document
) {
    for (const std::string& problem : assign_ranges(result.channels, demands.ranges)) {
        result.findings.push_back({plugin_state::unknown, problem});
    }
    for (judged_channel& channel : result.channels) {
        judge_channel(channel, document);
        if (channel.state != plugin_state::ok) {
            result.findings.push_back({channel.state, finding_text(channel), true});
        }
    }
}

/// CRITICAL, then UNKNOWN (it may hide a CRITICAL), then WARNING.
[[nodiscard]] bool matters_more(const plugin_finding& left, const plugin_finding& right) {
    constexpr std::array weights{0, 1, 3, 2};
    return weights.at(static_cast<std::size_t>(left.state)) >
           weights.at(static_cast<std::size_t>(right.state));
}

/// The channels that a range can mean.
[[nodiscard]] std::vector<judged_channel*>
meant(const std::string& channel, std::vector<judged_channel>& channels) {
    std::vector<judged_channel*> named;
    std::vector<judged_channel*> numbered;
    for (judged_channel& each : channels) {
        if (channel.empty() || each.view.name == channel) {
            named.push_back(&each);
        }
        if (std::to_string(each.view.id) == channel) {
            numbered.push_back(&each);
        }
    }
    return named.empty() ? numbered : named;
}

} // namespace

std::vector<std::string>
assign_ranges(std::vector<judged_channel>& channels, const std::vector<channel_range>& ranges) {
    std::vector<std::string> names(channels.size());
    std::ranges::transform(channels, names.begin(), [](const judged_channel& channel) {
        return channel.view.name;
    });
    std::vector<std::string> problems;
    for (const channel_range& range : ranges) {
        const std::vector<judged_channel*> found = meant(range.channel, channels);
        if (found.empty()) {
            problems.push_back(
                range.option + " " + range.channel + ": the sensor has no such channel" +
                did_you_mean(nearest_names(range.channel, names))
            );
            continue;
        }
        judged_channel& channel = *found.front();
        auto& level = range.option == "--warning" ? channel.warning : channel.critical;
        if (found.size() > 1) {
            problems.push_back(
                range.option + " " + to_text(range.range) + ": it may mean " +
                std::to_string(found.size()) + " channels; say which one, by name or number"
            );
        } else if (level) {
            problems.push_back(
                range.option + ": the channel " + channel.view.name + " has two ranges"
            );
        } else {
            level = range.range;
        }
    }
    return problems;
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

bool needs_growth(std::vector<judged_channel> channels, const plugin_demands& demands) {
    static_cast<void>(assign_ranges(channels, demands.ranges));
    return std::ranges::any_of(channels, [](const judged_channel& channel) {
        return channel.definition.difference &&
               (channel.definition.limits.enabled || channel.warning || channel.critical);
    });
}

plugin_result judge(
    const scan_result& scan,
    std::vector<judged_channel> channels,
    const plugin_demands& demands,
    const module_document& document
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
        judge_channels(result, demands, document);
        if (scan.state == scan_state::warning) {
            result.findings.push_back({plugin_state::warning, reason});
        } else {
            result.message = message;
        }
    }
    std::ranges::stable_sort(result.findings, matters_more);
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
