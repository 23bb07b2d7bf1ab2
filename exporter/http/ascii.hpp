#pragma once
// Small text work in ASCII, independent of the process's locale.

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

[[nodiscard]] constexpr char ascii_lower(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

[[nodiscard]] inline std::string ascii_lower(std::string_view text) {
    std::string result{text};
    std::ranges::transform(result, result.begin(), [](char letter) { return ascii_lower(letter); });
    return result;
}

[[nodiscard]] constexpr bool
equal_ignoring_case(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, [](char one, char other) {
        return ascii_lower(one) == ascii_lower(other);
    });
}

/// @return nothing unless the whole text is one number
template <typename Number>
[[nodiscard]] std::optional<Number> whole_number(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{number} : std::nullopt;
}

} // namespace tarvik::monitoring_modules::probe
