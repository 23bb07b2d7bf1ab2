#include "text/nearest_names.hpp"

#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_names = 3;
constexpr std::size_t longest_typed = 100; // beyond it nobody mistyped a name
constexpr std::size_t least_part = 3;      // shorter parts are in too many names

/// @return how many letters have to be put in, left out, replaced or swapped with their neighbour
[[nodiscard]] std::size_t edits_between(std::string_view left, std::string_view right) {
    std::vector<std::size_t> before_last(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= left.size(); ++i) {
        before_last = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            const bool swapped =
                i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
            if (swapped) {
                row[j] = std::min(row[j], before_last[j - 2] + 1);
            }
        }
    }
    return row[right.size()];
}

/// @return the smallest number of edits to the name, or one of its ends or beginnings
[[nodiscard]] std::size_t distance(const std::string& typed, const std::string& name) {
    std::size_t least = edits_between(typed, name);
    for (std::size_t dot = name.find('.'); dot != std::string::npos;
         dot = name.find('.', dot + 1)) {
        least = std::min(least, edits_between(typed, std::string_view{name}.substr(dot + 1)));
    }
    for (std::size_t end = name.find('_'); end != std::string::npos;
         end = name.find('_', end + 1)) {
        least = std::min(least, edits_between(typed, std::string_view{name}.substr(0, end)) + 1);
    }
    if (typed.size() >= least_part && name.find(typed, name.rfind('.') + 1) != std::string::npos) {
        least = std::min<std::size_t>(least, 2);
    }
    return least;
}

} // namespace

std::vector<std::string>
nearest_names(std::string_view typed, const std::vector<std::string>& names) {
    if (typed.size() > longest_typed) {
        return {};
    }
    const std::string wanted = lower_case(typed);
    const std::size_t limit = std::max<std::size_t>(2, wanted.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& name : names) {
        const std::size_t edits = distance(wanted, lower_case(name));
        if (edits <= limit && edits < wanted.size()) {
            near.emplace_back(edits, name);
        }
    }
    std::ranges::stable_sort(near, {}, &std::pair<std::size_t, std::string>::first);
    std::vector<std::string> result;
    for (auto& [edits, name] : near) {
        // Beside a near name, far ones are noise.
        if (result.size() < most_names && edits <= near.front().first + 1) {
            result.push_back(std::move(name));
        }
    }
    return result;
}

std::string did_you_mean(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += i == 0 ? "; did you mean " : i + 1 == names.size() ? " or " : ", ";
        text += names[i];
    }
    return text.empty() ? text : text + "?";
}

} // namespace tarvik::monitoring_modules::probe
