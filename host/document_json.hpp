#pragma once
// The module information document as JSON, in one language.

#include "host/module_document.hpp"

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

struct translated_document {
    /// As the module sent it, with the display texts in that language; "Text" holds it alone.
    nlohmann::ordered_json document;
    translation texts;
};

/// Display texts are found by where they stand: "custom_sensor.help", "GROUP.SETTING.display",
/// "GROUP.SETTING.option.VALUE", "lookup.NAME.VALUE". What a language lacks stays as it is.
/// @param message a module_information message
/// @param language as on the command line: "de"
/// @throws probe_error (call_failed) when it is no such message at all, (usage) for an unknown
/// language
[[nodiscard]] translated_document
translate_document(std::string_view message, std::string_view language);

/// @param message a module_information message
/// @param only what belongs to this sensor; null: everything
/// @return the document on one line, all characters beyond ASCII escaped
/// @throws probe_error as translate_document
[[nodiscard]] std::string
document_json(std::string_view message, std::string_view language, const sensor_description* only);

} // namespace tarvik::monitoring_modules::probe
