#include "probe/serve/metrics/slug.hpp"

#include <array>
#include <cstddef>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest = 80;

// U+00C0 to U+00FF, which in UTF-8 is the byte C3 and one from 80 to BF.
constexpr std::array<std::string_view, 64> latin_letters{
    "A", "A", "A", "A", "Ae", "A", "Ae", "C", "E", "E", "E", "E", "I",  "I", "I",  "I",
    "D", "N", "O", "O", "O",  "O", "Oe", " ", "O", "U", "U", "U", "Ue", "Y", "Th", "ss",
    "a", "a", "a", "a", "ae", "a", "ae", "c", "e", "e", "e", "e", "i",  "i", "i",  "i",
    "d", "n", "o", "o", "o",  "o", "oe", " ", "o", "u", "u", "u", "ue", "y", "th", "y"};

[[nodiscard]] std::string with_latin_letters_replaced(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        if (text[i] == '\xc3' && next >= 0x80 && next <= 0xbf) {
            result += latin_letters.at(next - 0x80);
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

[[nodiscard]] constexpr bool is_upper(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z';
}

[[nodiscard]] constexpr bool is_lower(char letter) noexcept {
    return letter >= 'a' && letter <= 'z';
}

[[nodiscard]] constexpr bool is_digit(char letter) noexcept {
    return letter >= '0' && letter <= '9';
}

} // namespace

std::string slug(std::string_view text) {
    const std::string plain = with_latin_letters_replaced(text);
    std::string result;
    const auto separate = [&result] {
        if (!result.empty() && result.back() != '_') {
            result += '_';
        }
    };
    for (std::size_t i = 0; i < plain.size() && result.size() < longest; ++i) {
        const char letter = plain[i];
        if (is_upper(letter)) {
            if (i + 1 < plain.size() && is_lower(plain[i + 1])) {
                separate(); // a word begins, also after capitals: "CPULoad"
            }
            result += static_cast<char>(letter - 'A' + 'a');
        } else if (is_lower(letter) || is_digit(letter)) {
            result += letter;
        } else {
            separate();
        }
    }
    if (result.ends_with('_')) {
        result.pop_back();
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
