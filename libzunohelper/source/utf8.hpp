#pragma once

// UTF-8, as far as texts from servers and settings need it.

#include <cstddef>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper::utf8 {

/// What stands in the place of a byte that is no UTF-8: U+FFFD.
inline constexpr std::string_view replacement = "\xEF\xBF\xBD";

/// @return the length in bytes (1 to 4) of the well-formed code point at the beginning of a text
/// that is not empty; 0 when its first byte begins none. Surrogates, overlong forms and code points
/// above U+10FFFF are not well-formed.
[[nodiscard]] std::size_t sequence_length(std::string_view text) noexcept;

/// @return the number of code points; each byte that belongs to none counts as one.
[[nodiscard]] std::size_t length(std::string_view text) noexcept;

} // namespace tarvik::monitoring_modules::libzunohelper::utf8
