#include "explorer/channels.hpp"

#include "host/settings_record.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <set>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_name = 32; // characters that the module takes, of a unit, too

/// @return empty when no notation can name the node
[[nodiscard]] std::string quoted_id(const std::string& node_id, std::size_t element) {
    const char quote = node_id.find('\'') == std::string::npos ? '\'' : '"';
    return node_id.find(quote) == std::string::npos
               ? quote + node_id + quote + "[" + std::to_string(element) + "]"
               : "";
}

[[nodiscard]] bool can_be_written(const std::string& node_id) {
    return is_utf8(node_id) && node_id.find('\0') == std::string::npos;
}

[[nodiscard]] std::string last_characters(std::string_view text, std::size_t count) {
    for (std::size_t left = character_count(text); left > count; --left) {
        take_character(text);
    }
    return std::string{text};
}

[[nodiscard]] std::string trimmed(const std::string& text) {
    constexpr const char* around = " '\"";
    const std::size_t begin = text.find_first_not_of(around);
    const std::size_t end = text.find_last_not_of(around);
    return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

/// @return whether a sensor with this value fails: it takes integers up to 2^63 - 1
[[nodiscard]] bool is_too_large(const nlohmann::ordered_json& value) {
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return value.is_number_unsigned() && value.get<std::uint64_t>() > largest;
}

/// A name in the making.
struct naming {
    std::vector<std::string> path; // safe names, the node's own last
    std::string element;           // "[3]" of an array
    std::size_t used = 1;          // how many names of the path
    std::string name;

    void make() {
        const std::vector<std::string> names{
            path.end() - static_cast<std::ptrdiff_t>(used), path.end()};
        const std::string text = trimmed(joined(names, "/"));
        const std::size_t room = longest_name - character_count(element);
        // Of several names the last one tells most.
        name =
            (used == 1 ? std::string{first_characters(text, room)} : last_characters(text, room)) +
            element;
    }
    [[nodiscard]] bool can_grow() const { return used < std::min<std::size_t>(path.size(), 8); }
};

[[nodiscard]] naming naming_of(const found_node& node, const std::string& element) {
    naming made;
    for (std::string name : split_at('/', sanitise(node.path))) {
        std::ranges::replace(name, '=', '_');
        made.path.push_back(std::move(name));
    }
    made.element = element;
    made.make();
    return made;
}

/// Lets those grow that are no name yet, or not the only ones of theirs, until no more can.
void tell_apart(std::vector<naming>& all) {
    for (bool changed = true; changed;) {
        changed = false;
        std::map<std::string, std::size_t> count;
        for (const naming& each : all) {
            ++count[each.name];
        }
        for (naming& each : all) {
            const bool good = !each.name.empty() && !begins_node_id(each.name);
            if ((!good || count.at(each.name) > 1) && each.can_grow()) {
                ++each.used;
                each.make();
                changed = true;
            }
        }
    }
}

/// Numbers those that are still the same.
void number(std::vector<naming>& all) {
    std::set<std::string> taken;
    for (naming& each : all) {
        if (each.name.empty() || begins_node_id(each.name)) {
            each.name = trimmed("Channel " + each.name);
        }
        const std::string base = each.name;
        for (std::size_t next = 2; !taken.insert(each.name).second; ++next) {
            const std::string behind = " " + std::to_string(next);
            each.name = std::string{first_characters(base, longest_name - behind.size())} + behind;
        }
    }
}

/// @param element of an array
[[nodiscard]] chosen_channel channel_of(const found_node& node, std::size_t element) {
    const std::string unit = node.value.boolean ? "" : sanitise(node.unit);
    return {
        "",
        node.value.length ? quoted_id(node.node_id, element) : node.node_id,
        std::string{first_characters(unit, longest_name)},
        node.value.boolean};
}

} // namespace

std::string channel_text(const found_node& node) {
    if (!can_be_written(node.node_id) || node.value.length == 0) {
        return "";
    }
    std::string text = node.value.length ? quoted_id(node.node_id, 0) : node.node_id;
    if (text.empty() || !node.display_name.empty()) {
        return text;
    }
    std::string name = is_utf8(node.plain_name) ? node.plain_name : "";
    std::ranges::replace(name, '=', '_');
    name = first_characters(name, longest_name);
    return (name.empty() || begins_node_id(name) ? "Channel" : name) + "=" + text;
}

bool gives_channels(const found_node& node) {
    return !node.channel.empty() && !node.value.time && !node.property;
}

channel_choice choose_channels(const std::vector<found_node>& nodes, std::size_t most) {
    channel_choice choice;
    std::vector<naming> names;
    const auto take = [&](const found_node& node, std::size_t element) {
        choice.more = choice.more || names.size() >= most;
        if (!choice.more) {
            const std::string index = "[" + std::to_string(element) + "]";
            names.push_back(naming_of(node, node.value.length ? index : ""));
            choice.channels.push_back(channel_of(node, element));
        }
    };
    for (const found_node& node : nodes) {
        const std::size_t length = gives_channels(node) ? node.value.length.value_or(1) : 0;
        choice.elements_left = choice.elements_left || length > most_elements;
        for (std::size_t i = 0; i < std::min(length, most_elements); ++i) {
            if (!is_too_large(node.value.length ? node.value.json.at(i) : node.value.json)) {
                take(node, i);
            }
        }
    }
    tell_apart(names);
    number(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        choice.channels[i].name = names[i].name;
    }
    return choice;
}

} // namespace tarvik::monitoring_modules::probe
