#pragma once
// What a person can do about an error, beside what the module says about it, in the languages of
// the module.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @param identity of an error's message
/// @param language code or name, as on the command line; any other text: English
/// @return a sentence or two; empty where the message says it all
[[nodiscard]] std::string hint_for(std::string_view identity, std::string_view language);

/// @return "Hint: " and the text, in this language; empty for an empty text
[[nodiscard]] std::string labelled_hint(const std::string& text, std::string_view language);

} // namespace tarvik::monitoring_modules::probe
