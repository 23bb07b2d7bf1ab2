#include "module/information/generator/markdown.hpp"

#include <array>
#include <utility>

namespace tarvik::monitoring_modules::information {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 6> replacements{{
    {"[br]", "<br>"},
    {"[b]", "**"},
    {"[/b]", "**"},
    {"[i]", "`"},
    {"[/i]", "`"},
    {"|", "\\|"},
}};

} // namespace

std::string cell(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t taken = 1;
        std::string_view written = text.substr(0, 1);
        for (const auto& [mark, replacement] : replacements) {
            if (text.starts_with(mark)) {
                taken = mark.size();
                written = replacement;
            }
        }
        result.append(written);
        text.remove_prefix(taken);
    }
    return result;
}

std::string code(std::string_view text) {
    return text.empty() ? "-" : "`" + std::string{text} + "`";
}

markdown_table::markdown_table(std::ostream& out, const std::vector<std::string>& head)
    : out_{out} {
    row(head);
    row(std::vector<std::string>(head.size(), "---"));
}

void markdown_table::row(const std::vector<std::string>& cells) {
    out_ << '|';
    for (const std::string& text : cells) {
        out_ << ' ' << text << " |";
    }
    out_ << '\n';
}

} // namespace tarvik::monitoring_modules::information
