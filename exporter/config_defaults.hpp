#pragma once
// What modules and sensors have that say nothing else: the member "defaults" of a file.

#include "exporter/sensor_labels.hpp"
#include "exporter/value_source.hpp"
#include "host/settings_form.hpp"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A text of the configuration, and where it stands.
struct placed_text {
    std::string text;
    yaml_value place;
};

/// Settings by their full keys.
using placed_settings = std::map<std::string, placed_text>;

/// Lays settings over others. What belongs together comes from one of them: a user with the
/// password and the kind of login, a client certificate with its key and the key's password. So no
/// password goes out with another user's name.
void lay_over(placed_settings& below, const placed_settings& above);

struct config_defaults {
    struct setting {
        std::string name; ///< as it stands there, perhaps shortened
        placed_text value;
    };

    std::chrono::milliseconds interval{10'000};
    sensor_labels labels;
    /// One list for each file that has any, the nearest one last.
    std::vector<std::vector<setting>> settings;

    /// @return the settings that a sensor of this form has
    [[nodiscard]] placed_settings settings_for(const settings_form& form) const;
};

/// @param outer what the file's own defaults are laid over
/// @param root of the file
[[nodiscard]] config_defaults read_defaults(
    const yaml_value& root,
    const value_source& values,
    const module_document& document,
    config_defaults outer
);

/// Reads the member "interval", if it is there.
void read_interval(const yaml_value& node, std::chrono::milliseconds& to);

} // namespace tarvik::monitoring_modules::probe
