#include "terminal/paragraph.hpp"

#include "terminal/table.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t least_columns = 20;
constexpr std::string_view line_end = "[br]";

/// Marks, and how what follows is painted.
constexpr auto marks = std::to_array<std::pair<std::string_view, colour>>(
    {{"[b]", colour::bold},
     {"[/b]", colour::plain},
     {"[i]", colour::italic},
     {"[/i]", colour::plain}}
);

/// A character as it is set; the view refers to the text.
struct letter {
    std::string_view text;
    std::size_t columns;
    colour paint;
};

/// @param paint of the first letter; becomes that of what follows the last one
[[nodiscard]] std::vector<letter> letters_of(std::string_view text, colour& paint) {
    std::vector<letter> letters;
    while (!text.empty()) {
        const auto* const mark = std::ranges::find_if(marks, [text](const auto& each) {
            return text.starts_with(each.first);
        });
        if (mark != marks.end()) {
            paint = mark->second;
            text.remove_prefix(mark->first.size());
            continue;
        }
        const std::string_view character = first_character(text);
        letters.push_back({character, display_width(character), paint});
        text.remove_prefix(character.size());
    }
    return letters;
}

[[nodiscard]] bool may_break_between(const letter& left, const letter& right) {
    // East Asian full stops, commas and closing brackets, which begin no line.
    constexpr auto closing = std::to_array<std::string_view>(
        {"、", "。", "，", "．", "：", "；", "！", "？", "）", "」", "』", "】", "》", "ー"}
    );
    const bool wide = left.columns == 2 || right.columns == 2;
    return left.text == " " || (wide && !contains(closing, right.text));
}

/// @return how many of the letters the first line takes, blanks at its end included
[[nodiscard]] std::size_t first_line(std::span<const letter> letters, std::size_t columns) {
    std::size_t used = 0;
    std::size_t last_break = 0;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (i > 0 && may_break_between(letters[i - 1], letters[i])) {
            last_break = i;
        }
        used += letters[i].columns;
        if (used > columns && letters[i].text != " ") {
            return last_break > 0 ? last_break : std::max<std::size_t>(i, 1);
        }
    }
    return letters.size();
}

/// @return the letters without blanks at the end
[[nodiscard]] std::string set_line(std::span<const letter> letters, bool colours) {
    while (!letters.empty() && letters.back().text == " ") {
        letters = letters.first(letters.size() - 1);
    }
    std::string line;
    std::string run; // of letters that are painted alike
    for (std::size_t i = 0; i < letters.size(); ++i) {
        run += letters[i].text;
        if (i + 1 == letters.size() || letters[i + 1].paint != letters[i].paint) {
            line += painted(std::exchange(run, {}), letters[i].paint, colours);
        }
    }
    return line;
}

} // namespace

std::string paragraph(std::string_view text, std::size_t indent, const page& on) {
    const std::size_t columns = std::max(on.columns - std::min(on.columns, indent), least_columns);
    const std::string safe = sanitise(text);
    std::string lines;
    colour paint = colour::plain;
    for (std::string_view rest = safe; !rest.empty();) {
        const std::size_t end = std::min(rest.find(line_end), rest.size());
        const std::vector<letter> letters = letters_of(rest.substr(0, end), paint);
        std::span<const letter> unset{letters};
        // A line that a mark ends is set even when it is empty.
        for (bool due = end < rest.size(); due || !unset.empty(); due = false) {
            const std::size_t size = first_line(unset, columns);
            const std::string line = set_line(unset.first(size), on.colours);
            lines += (line.empty() ? "" : std::string(indent, ' ')) + line + "\n";
            unset = unset.subspan(size);
        }
        rest.remove_prefix(std::min(end + line_end.size(), rest.size()));
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
