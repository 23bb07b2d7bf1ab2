

#include "text/terminal_text.hpp"

#include "text/number.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace tarvik::monitoring_modules::probe {

namespace {

struct range {
    char32_t first;
    char32_t last;
};

// Sorted. What takes no column of its own: combining marks of common scripts, joiners, variation
// selectors.
constexpr auto zero_width = std::to_array<range>(
    {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},    {0x5bf, 0x5bf},   {0x5c1, 0x5c2},
     {0x5c4, 0x5c5},   {0x5c7, 0x5c7},   {0x610, 0x61a},    {0x64b, 0x65f},   {0x670, 0x670},
     {0x6d6, 0x6dc},   {0x6df, 0x6e4},   {0x6e7, 0x6e8},    {0x6ea, 0x6ed},   {0x711, 0x711},
     {0x730, 0x74a},   {0x900, 0x902},   {0x93a, 0x93a},    {0x93c, 0x93c},   {0x941, 0x948},
     {0x94d, 0x94d},   {0xe31, 0xe31},   {0xe34, 0xe3a},    {0xe47, 0xe4e},   {0x1ab0, 0x1aff},
     {0x1dc0, 0x1dff}, {0x200c, 0x200d}, {0x20d0, 0x20f0},  {0x302a, 0x302d}, {0x3099, 0x309a},
     {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}, {0xe0100, 0xe01ef}}
);

// Sorted. What takes two columns: East Asian wide characters and symbols that are drawn as
// pictures.
constexpr auto wide = std::to_array<range>(
    {{0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},
     {0x23f0, 0x23f0},   {0x23f3, 0x23f3},   {0x25fd, 0x25fe},   {0x2614, 0x2615},
     {0x2648, 0x2653},   {0x267f, 0x267f},   {0x2693, 0x2693},   {0x26a1, 0x26a1},
     {0x26aa, 0x26ab},   {0x26bd, 0x26be},   {0x26c4, 0x26c5},   {0x26ce, 0x26ce},
     {0x26d4, 0x26d4},   {0x26ea, 0x26ea},   {0x26f2, 0x26f3},   {0x26f5, 0x26f5},
     {0x26fa, 0x26fa},   {0x26fd, 0x26fd},   {0x2705, 0x2705},   {0x270a, 0x270b},
     {0x2728, 0x2728},   {0x274c, 0x274c},   {0x274e, 0x274e},   {0x2753, 0x2755},
     {0x2757, 0x2757},   {0x2795, 0x2797},   {0x27b0, 0x27b0},   {0x27bf, 0x27bf},
     {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},   {0x2b55, 0x2b55},   {0x2e80, 0x303e},
     {0x3041, 0x33ff},   {0x3400, 0x4dbf},   {0x4e00, 0xa4cf},   {0xa960, 0xa97f},
     {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe10, 0xfe19},   {0xfe30, 0xfe6f},
     {0xff00, 0xff60},   {0xffe0, 0xffe6},   {0x1f300, 0x1f64f}, {0x1f680, 0x1f6fc},
     {0x1f7e0, 0x1f7eb}, {0x1f900, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd}}
);

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

[[nodiscard]] bool contains(std::span<const range> ranges, char32_t character) noexcept {
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
    if (contains(zero_width, character)) {
        return 0;
    }
    return contains(wide, character) ? 2 : 1;
}

} // namespace

std::string sanitise(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto [character, size] = decode(text);
        if (character == invalid_character) {
            result += "\xef\xbf\xbd";
        } else if (contains(unsafe, character)) {
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
