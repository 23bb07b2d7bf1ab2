#include "probe/manual/help_text.hpp"

#include <algorithm>
#include <sstream>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view indentation = "  ";
constexpr std::ptrdiff_t most_words = 3;

[[nodiscard]] bool is_indented(std::string_view line) {
    return line.starts_with(indentation);
}

/// @param next the line below
[[nodiscard]] bool is_title(std::string_view line, std::string_view next) {
    if (line.empty() || is_indented(line) || !line.ends_with(':') || !is_indented(next)) {
        return false;
    }
    const std::string_view words = line.substr(0, line.find(" ("));
    return words.find(',') == std::string_view::npos && std::ranges::count(words, ' ') < most_words;
}

[[nodiscard]] bool shows_what_to_type(std::string_view title) {
    return title.starts_with("Example") || title.starts_with("Configuration");
}

/// Puts the lines of one section together.
class section_reader final {
  public:
    explicit section_reader(help_section& to) : to_{to}, typed_{shows_what_to_type(to.title)} {}

    void add(std::string_view line) {
        const bool indented = is_indented(line);
        if (line.empty()) {
            open_ = false;
        } else if (!indented) {
            open_ = open_ && !was_indented_;
            add_words(line);
        } else {
            add_indented(line.substr(indentation.size()));
        }
        was_indented_ = indented;
    }

  private:
    template <typename Block>
    [[nodiscard]] Block& open_block() {
        if (!open_ || !std::holds_alternative<Block>(to_.blocks.back())) {
            to_.blocks.emplace_back(Block{});
            open_ = true;
        }
        return std::get<Block>(to_.blocks.back());
    }

    [[nodiscard]] bool inside_entry() const {
        return open_ && std::holds_alternative<help_entry>(to_.blocks.back());
    }

    void add_words(std::string_view words) {
        auto& text = open_block<help_paragraph>().text;
        text += (text.empty() ? "" : " ") + std::string{words};
    }

    void add_indented(std::string_view line) {
        const std::size_t gap = line.find(indentation);
        if (typed_ || (gap == 0 && !inside_entry())) {
            open_block<help_example>().lines.emplace_back(line);
        } else if (gap == 0) {
            open_block<help_entry>().text += " " + from_first_word(line);
        } else if (gap != std::string_view::npos) {
            to_.blocks.emplace_back(help_entry{
                std::string{line.substr(0, gap)}, from_first_word(line.substr(gap))});
            open_ = true;
        } else {
            open_ = open_ && was_indented_;
            add_words(line);
        }
    }

    [[nodiscard]] static std::string from_first_word(std::string_view text) {
        return std::string{text.substr(text.find_first_not_of(' '))};
    }

    help_section& to_;
    const bool typed_;
    bool open_ = false; ///< the last block goes on
    bool was_indented_ = false;
};

} // namespace

std::vector<help_section> parse_help(std::string_view footer) {
    std::vector<std::string> lines;
    std::istringstream in{std::string{footer}};
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    lines.emplace_back();
    std::vector<help_section> sections;
    for (std::size_t i = 0; i + 1 < lines.size();) {
        help_section& section = sections.emplace_back();
        if (is_title(lines[i], lines[i + 1])) {
            section.title = lines[i].substr(0, lines[i].size() - 1);
            ++i;
        }
        section_reader reader{section};
        for (; i + 1 < lines.size() && !is_title(lines[i], lines[i + 1]); ++i) {
            reader.add(lines[i]);
        }
    }
    return sections;
}

} // namespace tarvik::monitoring_modules::probe
