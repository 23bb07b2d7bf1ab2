#pragma once
// What the module tells about itself, in one language: sensors, checks, settings, lookups and the
// texts of its messages.

#include "host/setting_description.hpp"
#include "host/translation.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// The state of a channel's value.
enum class channel_state { none, ok, warning, error };

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
    [[nodiscard]] const std::vector<sensor_description>& sensors() const noexcept {
        return sensors_;
    }
    [[nodiscard]] const std::vector<check_description>& checks() const noexcept { return checks_; }
    [[nodiscard]] const std::vector<settings_section>& sections() const noexcept {
        return sections_;
    }
    [[nodiscard]] const std::vector<lookup_description>& lookups() const noexcept {
        return lookups_;
    }
    [[nodiscard]] const translation& texts() const noexcept { return texts_; }

    // Null for an unknown name.
    [[nodiscard]] const sensor_description* find_sensor(std::string_view kind) const;
    [[nodiscard]] const check_description* find_check(std::string_view kind) const;
    [[nodiscard]] const settings_section* find_section(std::string_view name) const;

    /// @return nothing for an unknown lookup or value
    [[nodiscard]] std::optional<lookup_value>
    find(std::string_view lookup_name, std::int64_t value) const;

    /// @return the display name, or the kind itself
    [[nodiscard]] std::string sensor_name(const std::string& kind) const;

  private:
    module_description module_;
    std::vector<sensor_description> sensors_;
    std::vector<check_description> checks_;
    std::vector<settings_section> sections_;
    std::vector<lookup_description> lookups_;
    translation texts_;
};

} // namespace tarvik::monitoring_modules::probe
