#pragma once

// The module information document, parsed.

#include "module/information/document.hpp"

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::tests {

using json = nlohmann::ordered_json;

inline const json& document() {
    static const json parsed = json::parse(information_document());
    return parsed;
}

/// All texts of a language: {"key": {"Display": text}}.
inline const json& texts_of(const char* language) {
    return document().at("Text").at(language).at("Translation");
}

/// Calls a function with group name and item for every setting.
template <typename Visit>
void for_each_setting(const Visit& visit) {
    for (const auto& [name, group] : document().at("Groups").items()) {
        for (const json& item : group.at("Items")) {
            visit(name, item);
        }
    }
}

} // namespace tarvik::monitoring_modules::tests
