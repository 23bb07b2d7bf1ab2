#pragma once

// Writes a text as C++ string literals.

#include <ostream>
#include <string_view>

namespace tarvik::monitoring_modules::information {

/// Writes a function `name` that returns a std::span<const std::string_view>: pieces that, joined
/// in order, are the text. No piece is longer than 5,000 bytes: compilers need not take longer
/// literals.
/// @param text UTF-8 without control characters; a character is never divided.
void write_literals(std::ostream& out, std::string_view name, std::string_view text);

} // namespace tarvik::monitoring_modules::information
