#pragma once

// The reference page of sensors, settings, channels, lookups and texts, as Markdown.

#include "module/information/generator/text_table.hpp"

#include <ostream>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::information {

/// @param document as build_document gives it.
void write_settings_page(
    std::ostream& out, const nlohmann::ordered_json& document, const text_table& texts
);

} // namespace tarvik::monitoring_modules::information
