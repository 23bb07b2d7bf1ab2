#include "text/utf8.hpp"

#include <unistr.h>

#include <algorithm>
#include <cstdint>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] bool continues_character(char byte) noexcept {
    return (static_cast<std::uint8_t>(byte) & 0xc0U) == 0x80U;
}

[[nodiscard]] const std::uint8_t* bytes_of(std::string_view text) noexcept {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

} // namespace

decoded_character take_character(std::string_view& text) noexcept {
    ucs4_t character = 0;
    const int size = u8_mbtoucr(&character, bytes_of(text), text.size());
    const std::string_view bytes = text.substr(0, static_cast<std::size_t>(std::max(size, 1)));
    text.remove_prefix(bytes.size());
    return {size < 1 ? invalid_character : character, bytes};
}

bool is_utf8(std::string_view text) noexcept {
    return u8_check(bytes_of(text), text.size()) == nullptr;
}

std::size_t character_count(std::string_view text) noexcept {
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        take_character(text);
    }
    return count;
}

std::string_view first_characters(std::string_view text, std::size_t count) noexcept {
    std::string_view rest = text;
    for (; count > 0 && !rest.empty(); --count) {
        take_character(rest);
    }
    return text.substr(0, text.size() - rest.size());
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
