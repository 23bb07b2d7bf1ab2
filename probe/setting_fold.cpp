#include "probe/setting_fold.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr const char* placeholder = "N";

/// @return the first number in the text, empty without one
[[nodiscard]] std::string number_in(const std::string& text) {
    const std::size_t start = std::min(text.find_first_of(digits), text.size());
    const std::size_t end = std::min(text.find_first_not_of(digits, start), text.size());
    return text.substr(start, end - start);
}

/// @return the text with "N" wherever the number stands by itself
[[nodiscard]] std::string generalised(const std::string& text, const std::string& number) {
    std::string result;
    for (std::size_t i = 0; i < text.size();) {
        const std::string found = number_in(text.substr(i));
        const std::size_t start = found.empty() ? text.size() : text.find_first_of(digits, i);
        result += text.substr(i, start - i);
        result += found == number ? placeholder : found;
        i = start + found.size();
    }
    return result;
}

/// Settings that are alike so far, and what they have in common.
struct family {
    std::vector<std::string> numbers;
    std::vector<const module_setting*> members;
    module_setting common;
};

constexpr auto texts = {
    &module_setting::key,
    &module_setting::name,
    &module_setting::display,
    &module_setting::help,
    &module_setting::preset,
    &module_setting::depends_on};

/// @return the text of both, or with "N" in it; nothing when they differ otherwise
[[nodiscard]] std::optional<std::string> common_text(
    std::string module_setting::*text,
    const std::pair<const module_setting&, const std::string&>& left,
    const std::pair<const module_setting&, const std::string&>& right
) {
    if (left.first.*text == right.first.*text) {
        return left.first.*text;
    }
    std::string general = generalised(left.first.*text, left.second);
    return general == generalised(right.first.*text, right.second)
               ? std::optional{std::move(general)}
               : std::nullopt;
}

/// @return whether the setting is alike and has been taken in
[[nodiscard]] bool take_in(family& to, const module_setting& setting, const std::string& number) {
    const module_setting& first = *to.members.front();
    if (number.empty() || to.numbers.front().empty() || first.values != setting.values ||
        first.required != setting.required || first.condition != setting.condition) {
        return false;
    }
    module_setting common = first;
    for (std::string module_setting::*text : texts) {
        auto shared = common_text(text, {first, to.numbers.front()}, {setting, number});
        // What is common to all so far has to stay so.
        if (!shared || (to.members.size() > 1 && *shared != to.common.*text)) {
            return false;
        }
        common.*text = std::move(*shared);
    }
    to.common = std::move(common);
    to.members.push_back(&setting);
    to.numbers.push_back(number);
    return true;
}

[[nodiscard]] std::string range_text(const std::vector<std::string>& numbers) {
    return numbers.front() + (numbers.size() == 2 ? " and " : " to ") + numbers.back();
}

} // namespace

std::vector<folded_setting> fold(const std::vector<module_setting>& settings) {
    std::vector<family> families;
    for (const module_setting& setting : settings) {
        const std::string number = number_in(setting.name);
        const bool taken = std::ranges::any_of(families, [&](family& each) {
            return take_in(each, setting, number);
        });
        if (!taken) {
            families.push_back({{number}, {&setting}, setting});
        }
    }
    std::vector<folded_setting> folded;
    for (family& each : families) {
        const bool several = each.members.size() > 1;
        folded.push_back({std::move(each.common), several ? range_text(each.numbers) : ""});
    }
    return folded;
}

} // namespace tarvik::monitoring_modules::probe
