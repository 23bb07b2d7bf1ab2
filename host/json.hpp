#pragma once
// JSON from outside: values as their types, where what is absent or has another type counts as none
// or as empty.

#include "text/number.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

/// @tparam Type std::int64_t, double, bool or std::string
/// @return nothing for a value of another type
template <typename Type>
[[nodiscard]] std::optional<Type> as(const nlohmann::ordered_json& value) {
    if constexpr (std::is_same_v<Type, double>) {
        return value.is_number() ? std::optional{value.get<double>()} : std::nullopt;
    } else if constexpr (std::is_same_v<Type, std::int64_t>) {
        const bool fits =
            !value.is_number_unsigned() || std::in_range<Type>(value.get<std::uint64_t>());
        return value.is_number_integer() && fits ? std::optional{value.get<Type>()} : std::nullopt;
    } else {
        const auto* const held = value.get_ptr<const Type*>();
        return held == nullptr ? std::nullopt : std::optional{*held};
    }
}

/// @return the member, or null JSON when there is none
[[nodiscard]] inline const nlohmann::ordered_json&
member(const nlohmann::ordered_json& object, const std::string& name) {
    static const nlohmann::ordered_json nothing;
    const auto found = object.find(name);
    return found == object.end() ? nothing : *found;
}

[[nodiscard]] inline std::string
text_in(const nlohmann::ordered_json& object, const std::string& name) {
    return as<std::string>(member(object, name)).value_or("");
}

[[nodiscard]] inline bool flag_in(const nlohmann::ordered_json& object, const std::string& name) {
    return as<bool>(member(object, name)).value_or(false);
}

/// Takes a number, or a text that is one.
[[nodiscard]] inline std::optional<std::int64_t>
integer_in(const nlohmann::ordered_json& object, const std::string& name) {
    const auto integer = as<std::int64_t>(member(object, name));
    return integer ? integer : parse_number<std::int64_t>(text_in(object, name));
}

/// @return the texts of a list; elements that are none are left out
[[nodiscard]] inline std::vector<std::string>
texts_in(const nlohmann::ordered_json& object, const std::string& name) {
    std::vector<std::string> texts;
    if (const auto& list = member(object, name); list.is_array()) {
        for (const auto& element : list) {
            if (auto text = as<std::string>(element)) {
                texts.push_back(*std::move(text));
            }
        }
    }
    return texts;
}

/// @return the object on a line of its own; all characters beyond ASCII are escaped, and bytes that
/// are no UTF-8 replaced, so that a terminal that shows the line stays unharmed
[[nodiscard]] inline std::string json_line(const nlohmann::ordered_json& object) {
    return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

/// @param text JSON, or not
/// @return whether lists and objects lie in each other on more levels
[[nodiscard]] inline bool is_deeper(std::string_view text, int levels) noexcept {
    int level = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = text[i];
        if (in_string) {
            i += next == '\\' ? 1 : 0;
            in_string = next != '"';
        } else if (next == '"') {
            in_string = true;
        } else if (next == '[' || next == '{') {
            ++level;
        } else if (next == ']' || next == '}') {
            --level;
        }
        if (level > levels) {
            return true;
        }
    }
    return false;
}

} // namespace tarvik::monitoring_modules::probe
