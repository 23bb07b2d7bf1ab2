#pragma once
// Comparing what HTTP compares regardless of case; independent of the process's locale.

#include <algorithm>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

[[nodiscard]] constexpr char ascii_lower(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

[[nodiscard]] constexpr bool
equal_ignoring_case(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, {}, ascii_lower, ascii_lower);
}

} // namespace tarvik::monitoring_modules::probe
