#pragma once
// The languages of the module's texts, and how a person names them.

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

inline constexpr const char* default_language = "English";

/// @param chosen as for language_name
[[nodiscard]] bool is_english(std::string_view chosen);

/// @param chosen a code such as "de", or a name such as "German", in any case
/// @param of_document names of the languages of which the module has texts
/// @return the name that the module uses: "German"
/// @throws probe_error (usage) for any other text; its message lists the languages
[[nodiscard]] std::string
language_name(std::string_view chosen, const std::vector<std::string>& of_document);

} // namespace tarvik::monitoring_modules::probe
