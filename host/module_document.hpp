#pragma once
// What the module tells about itself, in one language: sensors, checks, settings and what they may
// hold, lookups and the texts of its messages.

#include "host/translation.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The state of a channel's value.
enum class channel_state { none, ok, warning, error };

inline constexpr std::array all_channel_states{
    channel_state::none, channel_state::ok, channel_state::warning, channel_state::error};

/// @return "warning"
[[nodiscard]] constexpr std::string_view name_of(channel_state state) noexcept {
    constexpr std::array<std::string_view, 4> names{"none", "ok", "warning", "error"};
    return names[static_cast<std::size_t>(state)];
}

struct lookup_value {
    std::string text;
    channel_state state = channel_state::none;
};

/// Texts for the numbers of a channel.
struct lookup_description {
    std::string name;
    std::map<std::int64_t, lookup_value> values;
};

struct text_values {
    std::optional<std::int64_t> longest; ///< in characters
    bool several_lines = false;
    bool secret = false;

    bool operator==(const text_values&) const = default;
};

struct selection_option {
    std::string value;
    std::string display;

    bool operator==(const selection_option&) const = default;
};

struct selection_values {
    std::vector<selection_option> options;
    bool operator==(const selection_values&) const = default;
};

template <typename Number>
struct number_values {
    std::optional<Number> least;
    std::optional<Number> most;

    bool operator==(const number_values&) const = default;
};

/// What a setting may hold; std::monostate: not known to this program, so anything.
using allowed_values = std::variant<
    std::monostate,
    text_values,
    selection_values,
    number_values<std::int64_t>,
    number_values<double>>;

/// @return "whole number from 1 to 65535", "one of none, sign", "text of at most 32 characters"
[[nodiscard]] std::string allowed_text(const allowed_values& values);

/// @return whether a setting may hold this text
[[nodiscard]] bool is_allowed(const allowed_values& values, const std::string& text);

struct module_setting {
    std::string key;  ///< "section.group.name"
    std::string name; ///< unique in its group
    std::string display;
    std::string help;   ///< with markup
    std::string preset; ///< what it holds when it is not given
    allowed_values values;
    bool required = false;
    std::string depends_on;             ///< a setting of its group; empty: it is always shown
    std::vector<std::string> condition; ///< it is shown while that one holds one of these
};

struct settings_group {
    std::string name;
    std::vector<module_setting> settings;
};

struct settings_section {
    std::string name;
    std::string display;
    std::vector<settings_group> groups;
};

struct sensor_description {
    std::string kind;
    std::string display;
    std::string description;
    std::string help;
    std::optional<std::int64_t> interval; ///< recommended, in seconds
    std::vector<std::string> required_checks;
    std::vector<std::string> sections;
};

struct check_description {
    std::string kind;
    std::vector<std::string> sections;
};

struct module_description {
    std::string display;
    std::string description;
    std::string name;
    std::string version;
    std::string vendor;
    std::string contact;
};

class module_document final {
  public:
    /// A document that knows nothing: values show as numbers, sensors as their kinds.
    module_document() = default;

    /// @param message a module_information message. Entries that make no sense are left out.
    /// @param language as on the command line: "de"
    /// @throws probe_error (call_failed) when it is no such message at all, (usage) for an unknown
    /// language
    explicit module_document(
        std::string_view message, std::string_view language = default_language
    );

    [[nodiscard]] const module_description& module() const noexcept { return module_; }
    [[nodiscard]] const auto& sensors() const noexcept { return sensors_; }
    [[nodiscard]] const auto& checks() const noexcept { return checks_; }
    [[nodiscard]] const auto& sections() const noexcept { return sections_; }
    [[nodiscard]] const auto& lookups() const noexcept { return lookups_; }
    [[nodiscard]] const translation& texts() const noexcept { return texts_; }

    // Null for an unknown name.
    [[nodiscard]] const sensor_description* find_sensor(std::string_view kind) const;
    [[nodiscard]] const check_description* find_check(std::string_view kind) const;
    [[nodiscard]] const settings_section* find_section(std::string_view name) const;

    /// @param place where the kind was named, for the error
    /// @throws probe_error (usage) for a kind that no sensor has, naming those that may be meant;
    /// nothing is known to be wrong by a document without sensors
    void require_sensor(const std::string& kind, const std::string& place) const;

    /// @return nothing for an unknown lookup or value
    [[nodiscard]] std::optional<lookup_value>
    find(std::string_view lookup_name, std::int64_t value) const;

    /// @return in the order of the values; none for an unknown lookup
    [[nodiscard]] std::vector<std::string> texts_of_lookup(std::string_view lookup_name) const;

    /// @return names of channels that the module gives, of whatever sensor; none when they are not
    /// told
    [[nodiscard]] const auto& channel_names() const noexcept { return channel_names_; }

    /// @return the display name, or the kind itself
    [[nodiscard]] std::string sensor_name(const std::string& kind) const;

  private:
    module_description module_;
    std::vector<sensor_description> sensors_;
    std::vector<check_description> checks_;
    std::vector<settings_section> sections_;
    std::vector<lookup_description> lookups_;
    std::vector<std::string> channel_names_;
    translation texts_;
};

} // namespace tarvik::monitoring_modules::probe
