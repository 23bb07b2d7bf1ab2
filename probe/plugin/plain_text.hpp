#pragma once
// Texts from outside, fit for the output of a plugin.

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @param characters at least 1
/// @return the text sanitised and without "|", which begins performance data; at most so many
/// characters (code points), the last one "…" when it was longer
[[nodiscard]] std::string plain(std::string_view text, std::size_t characters);

} // namespace tarvik::monitoring_modules::probe
