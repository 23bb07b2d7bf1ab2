#pragma once

// The settings of one group, as the document describes them.

#include "module/information/generator/text_table.hpp"

#include <string>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::information {

/// @param name the group's; its texts have the keys "<name>.<setting>.display" and so on.
/// @param settings the group's rows in structure.json.
/// @throws as build_document.
[[nodiscard]] nlohmann::ordered_json build_group(
    const std::string& name, const nlohmann::ordered_json& settings, const text_table& texts
);

} // namespace tarvik::monitoring_modules::information
