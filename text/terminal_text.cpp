#include "text/terminal_text.hpp"

#include "text/number.hpp"

#include <uniwidth.h>

#include <algorithm>
#include <array>
#include <span>

namespace tarvik::monitoring_modules::probe {

namespace {

struct range {
    char32_t first;
    char32_t last;
};

// Sorted. What a terminal obeys, or what makes a text look like another one.
constexpr auto unsafe = std::to_array<range>(
    {{0x0, 0x1f},
     {0x7f, 0x9f},
     {0x61c, 0x61c},
     {0x180e, 0x180e},
     {0x200b, 0x200b},
     {0x200e, 0x200f},
     {0x2028, 0x202e},
     {0x2060, 0x206f},
     {0xfeff, 0xfeff},
     {0xfff9, 0xfffb},
     {0xe0000, 0xe007f}}
);

[[nodiscard]] bool is_in(std::span<const range> ranges, char32_t character) noexcept {
    const auto found = std::ranges::lower_bound(ranges, character, {}, &range::last);
    return found != ranges.end() && found->first <= character;
}

[[nodiscard]] std::string escape(char32_t character) {
    switch (character) {
    case U'\n':
        return "\\n";
    case U'\r':
        return "\\r";
    case U'\t':
        return "\\t";
    default:
        break;
    }
    return character < 0x100 ? "\\x" + hexadecimal(character, 2)
                             : "\\u" + hexadecimal(character, 4);
}

[[nodiscard]] std::size_t width_of(char32_t character) noexcept {
    const int columns = uc_width(character, "UTF-8");
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

} // namespace

std::string sanitise(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto [character, size] = decode(text);
        if (character == invalid_character) {
            result += "\xef\xbf\xbd";
        } else if (is_in(unsafe, character)) {
            result += escape(character);
        } else {
            result += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return result;
}

std::size_t display_width(std::string_view text) noexcept {
    std::size_t columns = 0;
    while (!text.empty()) {
        const auto [character, size] = decode(text);
        columns += width_of(character);
        text.remove_prefix(size);
    }
    return columns;
}

std::string_view first_character(std::string_view text) noexcept {
    std::size_t size = decode(text).size;
    while (size < text.size()) {
        const auto [character, more] = decode(text.substr(size));
        if (width_of(character) != 0) {
            break;
        }
        size += more;
    }
    return text.substr(0, size);
}

std::string cut(std::string_view text, std::size_t columns) {
    // A few marks for each character are a language, hundreds are an attack on the screen: so bytes
    // are limited, too.
    const std::size_t bytes = columns * 16;
    if (text.size() <= bytes && display_width(text) <= columns) {
        return std::string{text};
    }
    std::string_view rest = text;
    std::size_t used = 0;
    while (!rest.empty()) {
        const auto [character, size] = decode(rest);
        const std::size_t width = width_of(character);
        const std::size_t kept_bytes = text.size() - rest.size();
        if (used + width + 1 > columns || kept_bytes + size > bytes) {
            break;
        }
        used += width;
        rest.remove_prefix(size);
    }
    return std::string{text.substr(0, text.size() - rest.size())} + "…";
}

std::string fit(std::string_view text, std::size_t columns) {
    return cut(sanitise(text), columns);
}

} // namespace tarvik::monitoring_modules::probe
