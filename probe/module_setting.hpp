#pragma once
// One setting as the module describes it: its names, what it may hold, when it is shown.

#include "probe/allowed_values.hpp"

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

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

    [[nodiscard]] bool secret() const;
    [[nodiscard]] bool several_lines() const;
};

/// @param item an element of a group in the module information document
/// @param stem "section.group."
/// @return nothing for an item without a name
[[nodiscard]] std::optional<module_setting>
read_setting(const nlohmann::ordered_json& item, const std::string& stem);

/// Texts that the module separates by commas.
[[nodiscard]] std::vector<std::string> split_at_commas(const std::string& text);

} // namespace tarvik::monitoring_modules::probe
