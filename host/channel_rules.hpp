#pragma once
// What a person decides about channels and the message of a sensor, in place of what the module
// says of them: ranges of good values, and states by texts. The notation is that of whoever asks.

#include "host/module_document.hpp"
#include "host/value_range.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Stands for all texts that are not named.
inline constexpr std::string_view all_other_texts = "*";

/// The state that a text means.
struct stated_text {
    std::string text; ///< "*" in it is any part of a text; of channels also a number
    channel_state state = channel_state::none;
    bool operator==(const stated_text&) const = default;
};

/// Upper and lower case do not matter. A text that is named in full goes before those with "*",
/// which follow in their order, the one that is nothing but "*" last.
/// @return nothing when none of them is meant
[[nodiscard]] std::optional<channel_state>
find_state(const std::vector<stated_text>& states, std::string_view text);

/// @param word "ok", "warning" or "critical"
/// @throws probe_error (usage)
[[nodiscard]] channel_state parse_state_word(const std::string& word);

enum class rule_level { warning, critical };

struct range_rule {
    rule_level level = rule_level::warning;
    value_range range;
    bool operator==(const range_rule&) const = default;
};

/// The module's lookup decides nothing.
struct no_lookup_rule {
    bool operator==(const no_lookup_rule&) const = default;
};

struct channel_rule {
    std::string origin;  ///< where it was given: "--warning", "warning"; for messages
    std::string channel; ///< name or number; empty: the only one
    std::variant<range_rule, stated_text, no_lookup_rule> decision;
    bool operator==(const channel_rule&) const = default;
};

struct channel_rules {
    std::vector<channel_rule> channels;
    std::vector<stated_text> message; ///< texts of the sensor's message
    bool lookups = true;              ///< whether any lookup of the module decides
    bool operator==(const channel_rules&) const = default;
};

/// What was decided about one channel.
struct channel_demands {
    std::optional<value_range> warning;
    std::optional<value_range> critical;
    std::vector<stated_text> states;
    std::string states_origin; ///< where the states were given
    bool lookup = true;        ///< whether the module's lookup decides
};

/// A channel that rules can name.
struct rule_target {
    std::int64_t id = 0;
    std::string name;
    std::optional<std::string> lookup; ///< empty: none; nothing: not known
};

struct assigned_rules {
    std::vector<channel_demands> demands; ///< of each channel
    std::vector<std::string> problems;    ///< one for each rule that cannot be followed
};

/// Gives each rule to the channel that it names: a name goes before a number, and without either
/// it is for the only channel.
/// @param channels that are there
/// @param document knows the texts of lookups
[[nodiscard]] assigned_rules assign_rules(
    const std::vector<rule_target>& channels,
    const channel_rules& rules,
    const module_document& document
);

} // namespace tarvik::monitoring_modules::probe
