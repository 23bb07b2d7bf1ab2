#include "probe/plugin/ok_line.hpp"

#include "host/value_format.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_shown = 4;
constexpr std::size_t shown_name = 64;
constexpr std::size_t shown_value = 64;
constexpr std::size_t most_characters = 160; // leaves room for the state, the server and a message

/// A channel of a kind and the words around its value; kinds number their channels alike for ever.
struct told_channel {
    std::int64_t id;
    const char* before;
    const char* behind;
};
struct told_kind {
    std::string_view kind;
    std::vector<told_channel> channels;
};

[[nodiscard]] const std::vector<told_channel>* channels_of(std::string_view kind) {
    static const std::array kinds{
        told_kind{"server_status_sensor", {{0, "", ""}, {1, "up ", ""}}},
        told_kind{"certificate_sensor", {{0, "", " to expiration"}, {1, "key of ", ""}}},
        told_kind{
            "beckhoff_ipc_system_status_sensor", {{0, "CPU ", ""}, {1, "", ""}, {3, "", " free"}}}};
    const auto* const found = std::ranges::find(kinds, kind, &told_kind::kind);
    return found == kinds.end() ? nullptr : &found->channels;
}

[[nodiscard]] std::string short_value(const judged_channel& channel) {
    const channel_view& view = channel.view;
    if (view.lookup_text) {
        return *view.lookup_text;
    }
    if (channel.definition.unit.text == "day(s)") {
        return view.value.number + (view.value.number == "1" ? " day" : " days");
    }
    return value_text(channel);
}

[[nodiscard]] std::string
values_of_kind(const std::vector<told_channel>& told, const std::vector<judged_channel>& channels) {
    std::vector<std::string> texts;
    for (const told_channel& each : told) {
        const auto found = std::ranges::find_if(channels, [&each](const judged_channel& channel) {
            return channel.view.id == each.id;
        });
        if (found != channels.end()) {
            texts.push_back(each.before + short_value(*found) + each.behind);
        }
    }
    return joined(texts);
}

[[nodiscard]] std::string first_values(const std::vector<judged_channel>& channels) {
    std::string text;
    std::size_t shown = 0;
    for (const judged_channel& channel : channels) {
        const std::string next = (shown == 0 ? "" : ", ") + plain(channel.view.name, shown_name) +
                                 " " + plain(value_text(channel), shown_value);
        const std::size_t size = character_count(text) + character_count(next);
        if (shown == most_shown || (shown > 0 && size > most_characters)) {
            break;
        }
        text += next;
        ++shown;
    }
    const std::size_t more = channels.size() - shown;
    return text + (more == 0 ? "" : " and " + std::to_string(more) + " more");
}

} // namespace

std::string ok_line(const std::string& kind, const std::vector<judged_channel>& channels) {
    const std::vector<told_channel>* const told = channels_of(kind);
    const std::string text = told == nullptr ? "" : values_of_kind(*told, channels);
    return text.empty() ? first_values(channels) : text;
}

} // namespace tarvik::monitoring_modules::probe
