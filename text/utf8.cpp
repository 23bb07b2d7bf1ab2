#include "text/utf8.hpp"

#include <algorithm>
#include <cstdint>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] bool continues_character(char byte) noexcept {
    return (static_cast<std::uint8_t>(byte) & 0xc0U) == 0x80U;
}

} // namespace

decoded_character decode(std::string_view text) noexcept {
    const auto lead = static_cast<std::uint8_t>(text.front());
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4) {
        return {invalid_character, 1};
    }
    char32_t character = lead & (0xffU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if (i >= text.size() || !continues_character(text[i])) {
            return {invalid_character, i};
        }
        character = (character << 6U) | (static_cast<std::uint8_t>(text[i]) & 0x3fU);
    }
    const bool overlong = (size == 3 && character < 0x800) || (size == 4 && character < 0x10000);
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return overlong || surrogate || character > 0x10ffff ? decoded_character{invalid_character, 1}
                                                         : decoded_character{character, size};
}

bool is_utf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const auto [character, size] = decode(text);
        if (character == invalid_character) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

std::size_t character_count(std::string_view text) noexcept {
    std::size_t count = 0;
    while (!text.empty()) {
        text.remove_prefix(decode(text).size);
        ++count;
    }
    return count;
}

std::string_view first_characters(std::string_view text, std::size_t count) noexcept {
    std::size_t end = 0;
    for (; count > 0 && end < text.size(); --count) {
        end += decode(text.substr(end)).size;
    }
    return text.substr(0, end);
}

std::string_view first_bytes(std::string_view text, std::size_t bytes) noexcept {
    while (bytes > 0 && bytes < text.size() && continues_character(text[bytes])) {
        --bytes;
    }
    return text.substr(0, bytes);
}

std::string_view last_bytes(std::string_view text, std::size_t bytes) noexcept {
    text.remove_prefix(text.size() - std::min(text.size(), bytes));
    while (!text.empty() && continues_character(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::string limited(std::string_view text, std::size_t bytes) {
    return text.size() <= bytes ? std::string{text} : std::string{first_bytes(text, bytes)} + "…";
}

} // namespace tarvik::monitoring_modules::probe
