#include "module/information/generator/text_marks.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

namespace tarvik::monitoring_modules::information {

namespace {

constexpr std::array<std::string_view, 5> markup{"[b]", "[/b]", "[i]", "[/i]", "[br]"};

/// The length of the placeholder at the start of a text; 0 when there is none.
std::size_t placeholder_length(std::string_view text) {
    if (text.starts_with("%%")) {
        return 2;
    }
    std::size_t end = 1;
    while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])) != 0) {
        ++end;
    }
    return end > 1 && text.substr(end).starts_with(":s") ? end + 2 : 0;
}

/// The mark at the start of a text; empty when there is none.
std::string_view mark_at(std::string_view text) {
    if (text.front() == '%') {
        const std::size_t length = placeholder_length(text);
        if (length == 0) {
            throw std::runtime_error{"a \"%\" that is no placeholder"};
        }
        return text.substr(0, length);
    }
    const auto* const found =
        std::ranges::find_if(markup, [&](std::string_view mark) { return text.starts_with(mark); });
    return found == markup.end() ? std::string_view{} : *found;
}

void follow(std::vector<char>& open, std::string_view mark) {
    if (mark == "[b]" || mark == "[i]") {
        open.push_back(mark[1]);
    } else if (mark.starts_with("[/")) {
        if (open.empty() || open.back() != mark[2]) {
            throw std::runtime_error{std::string{mark} + " closes nothing"};
        }
        open.pop_back();
    }
}

} // namespace

std::vector<std::string> marks_of(std::string_view text) {
    std::vector<std::string> marks;
    std::vector<char> open;
    while (!text.empty()) {
        const std::string_view mark = mark_at(text);
        if (!mark.empty()) {
            follow(open, mark);
            marks.emplace_back(mark);
        }
        text.remove_prefix(std::max<std::size_t>(mark.size(), 1));
    }
    if (!open.empty()) {
        throw std::runtime_error{std::string{"["} + open.back() + "] is not closed"};
    }
    std::ranges::sort(marks);
    return marks;
}

} // namespace tarvik::monitoring_modules::information
