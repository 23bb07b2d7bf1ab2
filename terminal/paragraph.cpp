#include "terminal/paragraph.hpp"

#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t least_columns = 20;
constexpr const char* line_break = "\n"; // no sanitised text holds one

/// A character as it is set; the views refer to the text.
struct letter {
    std::string_view text;
    std::size_t columns;
    colour paint;
};

struct mark {
    std::string_view text;
    colour paint; ///< of what follows
};

constexpr auto marks = std::to_array<mark>(
    {{"[b]", colour::bold},
     {"[/b]", colour::plain},
     {"[i]", colour::italic},
     {"[/i]", colour::plain}}
);
constexpr std::string_view break_mark = "[br]";

[[nodiscard]] std::vector<letter> letters_of(std::string_view text) {
    std::vector<letter> letters;
    colour paint = colour::plain;
    while (!text.empty()) {
        if (text.starts_with(break_mark)) {
            letters.push_back({line_break, 0, colour::plain});
            text.remove_prefix(break_mark.size());
            continue;
        }
        const auto* const found = std::ranges::find_if(marks, [text](const mark& each) {
            return text.starts_with(each.text);
        });
        if (found != marks.end()) {
            paint = found->paint;
            text.remove_prefix(found->text.size());
            continue;
        }
        const std::string_view character = first_character(text);
        letters.push_back({character, display_width(character), paint});
        text.remove_prefix(character.size());
    }
    return letters;
}

/// East Asian full stops, commas and closing brackets, which begin no line.
[[nodiscard]] bool begins_no_line(std::string_view character) {
    constexpr auto closing = std::to_array<std::string_view>(
        {"、", "。", "，", "．", "：", "；", "！", "？", "）", "」", "』", "】", "》", "ー"}
    );
    return std::ranges::find(closing, character) != closing.end();
}

/// @return whether a line may end before this letter
[[nodiscard]] bool may_break_before(const std::vector<letter>& letters, std::size_t i) {
    const bool wide = letters[i].columns == 2 || letters[i - 1].columns == 2;
    return letters[i - 1].text == " " || (wide && !begins_no_line(letters[i].text));
}

/// @return where the line that begins at start ends
[[nodiscard]] std::size_t
end_of_line(const std::vector<letter>& letters, std::size_t start, std::size_t columns) {
    std::size_t used = 0;
    std::size_t last_break = start;
    for (std::size_t i = start; i < letters.size(); ++i) {
        if (letters[i].text == line_break) {
            return i;
        }
        if (i > start && may_break_before(letters, i)) {
            last_break = i;
        }
        used += letters[i].columns;
        if (used > columns && letters[i].text != " ") {
            return last_break > start ? last_break : std::max(i, start + 1);
        }
    }
    return letters.size();
}

/// @return the letters from first to last without blanks at the end
[[nodiscard]] std::string
set_line(const std::vector<letter>& letters, std::size_t first, std::size_t last, bool colours) {
    while (last > first && letters[last - 1].text == " ") {
        --last;
    }
    std::string line;
    for (std::size_t i = first; i < last;) {
        const colour paint = letters[i].paint;
        std::string run;
        for (; i < last && letters[i].paint == paint; ++i) {
            run += letters[i].text;
        }
        line += painted(run, paint, colours);
    }
    return line;
}

} // namespace

std::string paragraph(std::string_view text, std::size_t indent, const page& on) {
    const std::string safe = sanitise(text);
    const std::vector<letter> letters = letters_of(safe);
    const std::size_t columns = std::max(on.columns - std::min(on.columns, indent), least_columns);
    std::string lines;
    for (std::size_t start = 0; start < letters.size();) {
        const std::size_t end = end_of_line(letters, start, columns);
        const std::string line = set_line(letters, start, end, on.colours);
        lines += (line.empty() ? "" : std::string(indent, ' ')) + line + "\n";
        start = end;
        if (start < letters.size() && letters[start].text == line_break) {
            ++start;
        }
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
