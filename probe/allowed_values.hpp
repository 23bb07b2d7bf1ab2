#pragma once
// What a setting may hold.

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

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

} // namespace tarvik::monitoring_modules::probe
