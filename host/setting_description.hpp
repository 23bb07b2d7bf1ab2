#pragma once
// One setting as the module describes it: its names, what it may hold, when it is shown.

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace tarvik::monitoring_modules::probe {

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

    /// @return what may be chosen
    [[nodiscard]] std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (const selection_option& option : options) {
            texts.push_back(option.value);
        }
        return texts;
    }
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

    [[nodiscard]] bool secret() const;
    [[nodiscard]] bool several_lines() const;
};

/// @param item an element of a group in the module information document
/// @param stem "section.group."
/// @return nothing for an item without a name
[[nodiscard]] std::optional<module_setting>
read_setting(const nlohmann::ordered_json& item, const std::string& stem);

} // namespace tarvik::monitoring_modules::probe
