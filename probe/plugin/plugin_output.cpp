#include "probe/plugin/plugin_output.hpp"

#include "probe/plugin/perfdata.hpp"
#include "probe/plugin/plain_text.hpp"
#include "probe/terminal_text.hpp"
#include "probe/value_format.hpp"

#include <algorithm>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

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
    std::string text = std::to_string(result.findings.size()) + " problems: ";
    for (const plugin_finding& finding : result.findings) {
        text +=
            (&finding == &result.findings.front() ? "" : ", ") + plain(finding.text, finding_part);
    }
    return plain(text, room) + server;
}

[[nodiscard]] std::string range_detail(const char* name, const std::optional<plugin_range>& range) {
    return range ? std::string{", "} + name + " " + to_text(*range) : "";
}

[[nodiscard]] std::string channel_line(const judged_channel& channel, int verbosity) {
    std::string text = "[" + std::string{word(channel.state)} + "] " +
                       plain(channel.view.name, name_part) + ": " +
                       plain(value_text(channel), value_part);
    if (!channel.limit_text.empty() && !limit_tells_value(channel)) {
        text += " " + channel.limit_text;
    }
    if (verbosity > 0) {
        text += " (channel " + std::to_string(channel.view.id) + ", raw " +
                format_number(channel.view.raw) + range_detail("warning", channel.warning) +
                range_detail("critical", channel.critical) + ")";
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
    return lines;
}

} // namespace

std::string render_plugin(const plugin_result& result, const std::string& address, int verbosity) {
    std::string text = head(result.state) + summary(result, plain(address, address_part));
    const std::size_t room = first_line - std::min(first_line, character_count(text));
    if (!result.message.empty() && room > least_message) {
        text += ": " + result.message;
    }
    const std::string measured = perfdata(result.channels);
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
