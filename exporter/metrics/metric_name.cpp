#include "exporter/metrics/metric_name.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using text_pair = std::pair<std::string_view, std::string_view>;

constexpr text_pair short_kinds[] = {
    {"custom_sensor", "custom"},
    {"server_status_sensor", "server"},
    {"certificate_sensor", "certificate"},
    {"beckhoff_ipc_system_status_sensor", "ipc"},
};

// Names that tell a unit in which the metric is not.
constexpr text_pair renamed[] = {{"days_to_expiration", "time_to_expiration"}};

constexpr std::string_view reserved_endings[] = {
    "count", "total", "sum", "bucket", "created", "info"};

/// Takes a last word off, unless it is the only one.
/// @return whether it was there
bool take_off(std::string& name, std::string_view word) {
    if (word.empty() || name.size() < word.size() + 2 || !name.ends_with(word) ||
        name[name.size() - word.size() - 1] != '_') {
        return false;
    }
    name.resize(name.size() - word.size() - 1);
    return true;
}

[[nodiscard]] std::string kind_name(std::string_view kind) {
    const auto* const found = std::ranges::find(short_kinds, kind, &text_pair::first);
    if (found != std::ranges::end(short_kinds)) {
        return std::string{found->second};
    }
    std::string name = slug(kind);
    take_off(name, "sensor");
    return name.empty() ? "sensor" : name;
}

[[nodiscard]] bool is_reserved(std::string_view word) {
    return std::ranges::count(reserved_endings, word) > 0;
}

[[nodiscard]] std::string without_reserved_endings(std::string name) {
    bool counted = false;
    for (std::size_t before = 0; before != name.size();) {
        before = name.size();
        for (const std::string_view ending : reserved_endings) {
            counted |= take_off(name, ending) && ending == "count";
        }
    }
    if (is_reserved(name)) {
        return "value";
    }
    return counted && !name.ends_with('s') ? name + "s" : name; // what is counted
}

[[nodiscard]] std::string channel_name(const std::string& kind, std::string_view text) {
    std::string name = slug(text);
    const auto* const found = std::ranges::find(renamed, std::string_view{name}, &text_pair::first);
    if (found != std::ranges::end(renamed)) {
        name = found->second;
    }
    if (name.starts_with(kind + "_")) {
        name.erase(0, kind.size() + 1);
    }
    return name.empty() ? "value" : without_reserved_endings(std::move(name));
}

/// @param written the unit as people wrote it
void take_unit_off(std::string& name, const metric_unit& unit, std::string_view written) {
    if (unit.name == "ratio") {
        take_off(name, "percent");
    }
    // A single letter may be anything: "Phase A", in amperes.
    if (const std::string word = slug(written); word.size() > 1) {
        take_off(name, word);
    }
    if (!take_off(name, unit.name) && name == unit.name) {
        name.clear();
    }
}

constexpr std::size_t longest_name = 80;

// U+00C0 to U+00FF, which in UTF-8 is the byte C3 and one from 80 to BF.
constexpr std::array<std::string_view, 64> latin_letters{
    "A", "A", "A", "A", "Ae", "A", "Ae", "C", "E", "E", "E", "E", "I",  "I", "I",  "I",
    "D", "N", "O", "O", "O",  "O", "Oe", " ", "O", "U", "U", "U", "Ue", "Y", "Th", "ss",
    "a", "a", "a", "a", "ae", "a", "ae", "c", "e", "e", "e", "e", "i",  "i", "i",  "i",
    "d", "n", "o", "o", "o",  "o", "oe", " ", "o", "u", "u", "u", "ue", "y", "th", "y"};

[[nodiscard]] std::string with_latin_letters_replaced(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        if (text[i] == '\xc3' && next >= 0x80 && next <= 0xbf) {
            result += latin_letters.at(next - 0x80);
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

[[nodiscard]] constexpr bool is_upper(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z';
}

[[nodiscard]] constexpr bool is_lower(char letter) noexcept {
    return letter >= 'a' && letter <= 'z';
}

[[nodiscard]] constexpr bool is_digit(char letter) noexcept {
    return letter >= '0' && letter <= '9';
}

} // namespace

metric_descriptor
describe(std::string_view kind, const channel_definition& channel, bool has_states) {
    const std::string sensor = kind_name(kind);
    const metric_unit unit = has_states ? metric_unit{} : base_unit(channel.unit);
    std::string name = channel_name(sensor, channel.name);
    take_unit_off(name, unit, channel.unit.text);
    const metric_kind type = has_states           ? metric_kind::state_set
                             : channel.difference ? metric_kind::counter
                                                  : metric_kind::gauge;
    std::string whole = "opcua_" + sensor;
    for (const std::string& part : {name, unit.name}) {
        whole += part.empty() ? "" : "_" + part;
    }
    if (type == metric_kind::counter) {
        whole += "_total";
    }
    return {{whole, channel.name, unit.name, type}, unit.multiply, unit.divide};
}

metric_family code_of(const metric_family& states) {
    return {states.name + "_code", states.help + " (number)", "", metric_kind::gauge};
}

std::string slug(std::string_view text) {
    const std::string plain = with_latin_letters_replaced(text);
    std::string result;
    const auto separate = [&result] {
        if (!result.empty() && result.back() != '_') {
            result += '_';
        }
    };
    for (std::size_t i = 0; i < plain.size() && result.size() < longest_name; ++i) {
        const char letter = plain[i];
        if (is_upper(letter)) {
            if (i + 1 < plain.size() && is_lower(plain[i + 1])) {
                separate(); // a word begins, also after capitals: "CPULoad"
            }
            result += static_cast<char>(letter - 'A' + 'a');
        } else if (is_lower(letter) || is_digit(letter)) {
            result += letter;
        } else {
            separate();
        }
    }
    if (result.ends_with('_')) {
        result.pop_back();
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
