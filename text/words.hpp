#pragma once
// Words and lists of them. Letters are those of ASCII, whatever the process's locale.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

[[nodiscard]] constexpr char lower_case(char letter) noexcept {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

[[nodiscard]] inline std::string lower_case(std::string_view text) {
    std::string result{text};
    std::ranges::transform(result, result.begin(), [](char letter) { return lower_case(letter); });
    return result;
}

/// @return whether both are the same but for upper and lower case
[[nodiscard]] inline bool same_in_any_case(std::string_view left, std::string_view right) {
    return lower_case(left) == lower_case(right);
}

/// @return whether the part is in the text, in upper or lower case
[[nodiscard]] inline bool contains_in_any_case(std::string_view text, std::string_view part) {
    return lower_case(text).find(lower_case(part)) != std::string::npos;
}

/// @param with what stands between two of the texts
[[nodiscard]] inline std::string
joined(const std::vector<std::string>& texts, std::string_view with = ", ") {
    std::string list;
    for (const std::string& text : texts) {
        list.append(&text == &texts.front() ? "" : with).append(text);
    }
    return list;
}

/// @return what stands before, between and after the marks; at least one part
[[nodiscard]] inline std::vector<std::string> split_at(char mark, std::string_view text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(mark, start), text.size());
        parts.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

/// @return whether a list has the element
template <typename List, typename Element>
[[nodiscard]] bool contains(const List& list, const Element& element) {
    return std::ranges::find(list, element) != std::ranges::end(list);
}

} // namespace tarvik::monitoring_modules::probe
