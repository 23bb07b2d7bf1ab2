#pragma once
// Text as UTF-8: any bytes may come, and none is trusted to be a character.

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

inline constexpr char32_t invalid_character = 0xffffffff;

struct decoded_character {
    char32_t character;     ///< invalid_character: the bytes are no UTF-8
    std::string_view bytes; ///< at least one
};

/// Takes the first character off a text.
/// @param text not empty
decoded_character take_character(std::string_view& text) noexcept;

/// @return whether all bytes are well-formed UTF-8
[[nodiscard]] bool is_utf8(std::string_view text) noexcept;

/// @return how many characters (code points) the text has; each wrong byte counts as one
[[nodiscard]] std::size_t character_count(std::string_view text) noexcept;

/// @return the beginning of the text, at most so many characters
[[nodiscard]] std::string_view first_characters(std::string_view text, std::size_t count) noexcept;

/// @return the beginning of the text, at most so many bytes; no character is cut into
[[nodiscard]] std::string_view first_bytes(std::string_view text, std::size_t bytes) noexcept;

/// @return the end of the text, at most so many bytes; no character is cut into
[[nodiscard]] std::string_view last_bytes(std::string_view text, std::size_t bytes) noexcept;

/// @return the text, or as much of its beginning as has this many bytes with a "…" behind it
[[nodiscard]] std::string limited(std::string_view text, std::size_t bytes = 1000);

} // namespace tarvik::monitoring_modules::probe
