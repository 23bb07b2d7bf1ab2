#pragma once
// Text from outside made fit for a terminal: nothing that controls the terminal gets through, and
// widths are counted in terminal columns, not in bytes. Independent of the process's locale; the
// input is taken as UTF-8.

#include "text/utf8.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Control characters (C0, C1, DEL), characters that reorder or hide text, and line separators
/// become visible escapes such as "\n", "\x1b" or "\u202e"; bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string sanitise(std::string_view text);

/// @return columns that sanitised text takes: 2 for wide characters, 0 for combining ones
[[nodiscard]] std::size_t display_width(std::string_view text) noexcept;

/// @param text not empty
/// @return its first character with the marks that combine with it
[[nodiscard]] std::string_view first_character(std::string_view text) noexcept;

/// @param text sanitised text
/// @param columns at least 1
/// @return the text, or as much of its beginning as fits with a "…" behind it
[[nodiscard]] std::string cut(std::string_view text, std::size_t columns);

/// @return sanitise, then cut
[[nodiscard]] std::string fit(std::string_view text, std::size_t columns);

} // namespace tarvik::monitoring_modules::probe
