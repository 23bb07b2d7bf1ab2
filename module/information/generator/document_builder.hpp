#pragma once

// Puts the module information document together from its structure and its texts.

#include "module/information/generator/text_table.hpp"

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::information {

/// @param structure what structure.json holds. Displays and helps are not in it: their keys follow
/// from the names. What is written once for all channels is expanded here.
/// @return the document without its member "Text".
/// @throws std::runtime_error for a text that does not exist, a setting that depends on none of its
/// group, a lookup value that the catalogue has not, and the other way round.
/// @throws nlohmann::json::exception for a structure of another shape.
[[nodiscard]] nlohmann::ordered_json
build_document(const nlohmann::ordered_json& structure, const text_table& texts);

/// @return the member "Text": every language with all its texts.
[[nodiscard]] nlohmann::ordered_json build_texts(const text_table& texts);

} // namespace tarvik::monitoring_modules::information
