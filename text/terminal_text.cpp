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
    constexpr std::u32string_view line_controls = U"\n\r\t";
    if (const auto place = line_controls.find(character); place != line_controls.npos) {
        return {'\\', "nrt"[place]};
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
        const auto [character, bytes] = take_character(text);
        if (character == invalid_character) {
            result += "\xef\xbf\xbd";
        } else if (is_in(unsafe, character)) {
            result += escape(character);
        } else {
            result += bytes;
        }
    }
    return result;
}

std::size_t display_width(std::string_view text) noexcept {
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += width_of(take_character(text).character);
    }
    return columns;
}

std::string_view first_character(std::string_view text) noexcept {
    std::string_view rest = text;
    std::size_t size = take_character(rest).bytes.size();
    while (!rest.empty()) {
        const auto [character, bytes] = take_character(rest);
        if (width_of(character) != 0) {
            break;
        }
        size += bytes.size();
    }
    return text.substr(0, size);
}

std::string cut(std::string_view text, std::size_t columns) {
    // A few marks for each character are a language, hundreds are an attack on the screen: so bytes
    // are limited, too.
    const std::size_t most_bytes = columns * 16;
    if (text.size() <= most_bytes && display_width(text) <= columns) {
        return std::string{text};
    }
    std::size_t used = 0;
    std::size_t kept = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const auto [character, bytes] = take_character(rest);
        used += width_of(character);
        if (used + 1 > columns || kept + bytes.size() > most_bytes) {
            break;
        }
        kept += bytes.size();
    }
    return std::string{text.substr(0, kept)} + "…";
}

std::string fit(std::string_view text, std::size_t columns) {
    return cut(sanitise(text), columns);
}

} // namespace tarvik::monitoring_modules::probe
