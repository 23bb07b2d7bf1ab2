#include "probe/plugin/plugin_output.hpp"

#include "host/value_format.hpp"
#include "text/number.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t label_characters = 64;

/// A label as readers understand it: "=" ends one, whatever the quotes say.
[[nodiscard]] std::string label_text(const std::string& name) {
    std::string text = plain(name, label_characters);
    std::ranges::replace(text, '=', '_');
    return text.empty() ? "channel" : text;
}

[[nodiscard]] std::string unique(const std::string& label, const std::vector<std::string>& taken) {
    std::string candidate = label;
    for (int number = 2; contains(taken, candidate); ++number) {
        candidate = label + " (" + std::to_string(number) + ")";
    }
    return candidate;
}

[[nodiscard]] std::string quoted(const std::string& label) {
    return "'" + joined(split_at('\'', label), "''") + "'";
}

/// @return one that every reader knows; empty for others
[[nodiscard]] std::string unit_of(const channel_unit& unit) {
    constexpr auto known = std::to_array<std::string_view>({"s", "ms", "us", "%", "B"});
    const auto code = static_cast<unit_code>(unit.code);
    const std::string text = code == unit_code::memory_size ? "B"
                             : code == unit_code::percent   ? "%"
                             : code == unit_code::time_span ? "s"
                             : code == unit_code::custom    ? unit.text
                                                            : "";
    return contains(known, text) ? text : "";
}

[[nodiscard]] std::string item(const std::string& label, const judged_channel& channel) {
    const channel_definition& definition = channel.definition;
    const channel_verdict& verdict = channel.view.verdict;
    const bool counter = definition.difference;
    const std::string value = scaled_decimal(channel.view.raw, definition.multiplier);
    const std::string unit = value == "U" ? "" : counter ? "c" : unit_of(definition.unit);
    const auto range_text = [counter](const std::optional<value_range>& range) {
        return range && !counter ? to_text(*range) : "";
    };
    const bool percent = static_cast<unit_code>(definition.unit.code) == unit_code::percent;
    std::string text = quoted(label) + "=" + value + unit + ";" + range_text(verdict.warning) +
                       ";" + range_text(verdict.critical) + (percent && !counter ? ";0;100" : "");
    text.erase(text.find_last_not_of(';') + 1);
    return text;
}

// In characters, but for the last one.
constexpr std::size_t first_line = 255;
constexpr std::size_t address_part = 80;
constexpr std::size_t finding_part = 160;
constexpr std::size_t name_part = 64;
constexpr std::size_t value_part = 64;
constexpr std::size_t least_message = 20; // with less room it would tell nothing
constexpr std::size_t detail_line = 400;
constexpr std::size_t message_line = 1000;
constexpr std::size_t most_bytes = 8192;

[[nodiscard]] std::string head(plugin_state state) {
    return std::string{"OPCUA "} + word(state) + " - ";
}

/// @return what is good, or the findings as far as they fit
[[nodiscard]] std::string summary(const plugin_result& result, const std::string& address) {
    if (result.findings.empty() && !result.good.empty()) {
        return plain(result.good, first_line - address_part) + " at " + address;
    }
    if (result.findings.empty()) {
        const std::string what = result.channels.size() == 1
                                     ? plain(result.channels.front().view.name, name_part) + " " +
                                           plain(value_text(result.channels.front()), value_part)
                                     : std::to_string(result.channels.size()) + " channels";
        return what + " at " + address;
    }
    const std::string server = " (server " + address + ")";
    const std::size_t room =
        first_line - character_count(head(result.state)) - character_count(server);
    if (result.findings.size() == 1) {
        return plain(result.findings.front().text, room) + server;
    }
    std::vector<std::string> texts;
    for (const plugin_finding& finding : result.findings) {
        texts.push_back(plain(finding.text, finding_part));
    }
    return plain(std::to_string(texts.size()) + " problems: " + joined(texts), room) + server;
}

[[nodiscard]] std::string range_detail(const char* name, const std::optional<value_range>& range) {
    return range ? std::string{", "} + name + " " + to_text(*range) : "";
}

/// @return " is above 90 °C, the module's limit", ", an error by the module's lookup"
[[nodiscard]] std::string reason_text(const judged_channel& channel) {
    const channel_verdict& verdict = channel.view.verdict;
    if (limit_tells_value(channel)) {
        const bool error = verdict.state == channel_state::error;
        return std::string{error ? ", an error" : ", a warning"} + " by " + verdict.origin;
    }
    return (verdict.text.empty() ? "" : " ") + verdict.text +
           (verdict.origin.empty() ? "" : ", " + verdict.origin);
}

[[nodiscard]] std::string channel_line(const judged_channel& channel, int verbosity) {
    const channel_verdict& verdict = channel.view.verdict;
    std::string text = "[" + std::string{word(channel.state())} + "] " +
                       plain(channel.view.name, name_part) + ": " +
                       plain(value_text(channel), value_part) + reason_text(channel);
    if (verbosity > 0) {
        text += " (channel " + std::to_string(channel.view.id) + ", raw " +
                format_number(channel.view.raw) + range_detail("warning", verdict.warning) +
                range_detail("critical", verdict.critical) + ")";
    }
    return plain(text, detail_line);
}

/// What neither the first line nor a line of a channel tells in full.
[[nodiscard]] std::vector<std::string>
other_lines(const plugin_result& result, const std::string& first) {
    std::vector<std::string> lines;
    const auto add = [&](const std::string& before, const std::string& text) {
        const std::string safe = plain(text, message_line);
        if (first.find(safe) == std::string::npos) {
            lines.push_back(before + safe);
        }
    };
    for (const plugin_finding& finding : result.findings) {
        if (!finding.of_channel) {
            add("[" + std::string{word(finding.state)} + "] ", finding.text);
        }
    }
    add("Message: ", result.message);
    add("", result.hint);
    return lines;
}

} // namespace

std::string scaled_decimal(const channel_number& value, double multiplier) {
    if (const auto* integer = std::get_if<std::int64_t>(&value);
        integer != nullptr && multiplier == 1.0) {
        return std::to_string(*integer);
    }
    const double scaled = as_double(value) * multiplier;
    return std::isfinite(scaled) ? decimal(scaled) : "U";
}

std::string plain(std::string_view text, std::size_t characters) {
    std::string safe = joined(split_at('|', sanitise(text)), "¦");
    return character_count(safe) <= characters
               ? safe
               : std::string{first_characters(safe, characters - 1)} + "…";
}

std::string
perfdata(const std::vector<judged_channel>& channels, const std::optional<double>& seconds) {
    std::string text;
    std::vector<std::string> labels;
    for (const judged_channel& channel : channels) {
        labels.push_back(unique(label_text(channel.view.name), labels));
        text += (text.empty() ? "" : " ") + item(labels.back(), channel);
    }
    if (seconds) { // last, so that a channel of this name keeps it
        constexpr int microseconds = 6;
        text += (text.empty() ? "" : " ") + quoted(unique("time", labels)) + "=" +
                with_decimals(*seconds, microseconds) + "s";
    }
    return text;
}

std::string render_plugin(const plugin_result& result, const std::string& address, int verbosity) {
    std::string text = head(result.state) + summary(result, plain(address, address_part));
    const std::size_t room = first_line - std::min(first_line, character_count(text));
    if (!result.message.empty() && room > least_message) {
        text += ": " + result.message;
    }
    const std::string measured = perfdata(result.channels, result.seconds);
    text = plain(text, first_line);
    std::vector<std::string> lines = other_lines(result, text);
    text += (measured.empty() ? "" : " | " + measured) + "\n";
    for (const judged_channel& channel : result.channels) {
        lines.push_back(channel_line(channel, verbosity));
    }
    for (const std::string& line : lines) {
        if (text.size() + line.size() + 1 > most_bytes) {
            break;
        }
        text += line + "\n";
    }
    return text;
}

std::string render_unknown(const std::string& text) {
    return plain(head(plugin_state::unknown) + text, first_line) + "\n";
}

} // namespace tarvik::monitoring_modules::probe
