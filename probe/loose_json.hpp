#pragma once
// Reads JSON that may lack anything: what is absent or has another type counts as empty.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

/// @return the member, or null JSON when there is none
[[nodiscard]] const nlohmann::ordered_json&
member(const nlohmann::ordered_json& object, const std::string& name);

[[nodiscard]] std::string text_of(const nlohmann::ordered_json& value);
[[nodiscard]] bool flag_of(const nlohmann::ordered_json& value);

/// Takes a number, or a text that is one.
[[nodiscard]] std::optional<std::int64_t> integer_of(const nlohmann::ordered_json& value);

/// @return the texts of a list; elements that are none are left out
[[nodiscard]] std::vector<std::string> texts_of(const nlohmann::ordered_json& list);

} // namespace tarvik::monitoring_modules::probe
