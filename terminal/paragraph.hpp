#pragma once
// Running text for a terminal: lines as wide as it is, with the module's markup.

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

struct page {
    std::size_t columns = 80; ///< of the whole line
    bool colours = false;     ///< bold and italic letters are shown as such
};

/// Breaks at blanks and between wide characters, and words that are longer than a line anywhere.
/// @param text not yet sanitised; "[b]", "[i]" and their ends set letters, "[br]" ends a line;
/// other brackets are text
/// @param indent blanks before each line; at least 20 columns are used behind it
/// @return lines with their ends; empty for an empty text
[[nodiscard]] std::string paragraph(std::string_view text, std::size_t indent, const page& on);

} // namespace tarvik::monitoring_modules::probe
