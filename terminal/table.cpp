#include "terminal/table.hpp"

#include "text/terminal_text.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string_view sequence(colour paint) noexcept {
    switch (paint) {
    case colour::plain:
        return "";
    case colour::bold:
        return "\x1b[1m";
    case colour::dim:
        return "\x1b[2m";
    case colour::italic:
        return "\x1b[3m";
    case colour::green:
        return "\x1b[32m";
    case colour::yellow:
        return "\x1b[33m";
    case colour::red:
        return "\x1b[31m";
    }
    return "";
}

[[nodiscard]] std::string
padded(const cell& content, alignment align, std::size_t width, bool colours) {
    const std::size_t used = display_width(content.text);
    const std::string blanks(width - std::min(width, used), ' ');
    const std::string text = painted(content.text, content.paint, colours);
    return align == alignment::left ? text + blanks : blanks + text;
}

void finish_line(std::string& lines) {
    lines.erase(lines.find_last_not_of(' ') + 1);
    lines += '\n';
}

} // namespace

std::string painted(std::string_view text, colour paint, bool colours) {
    if (!colours || paint == colour::plain || text.empty()) {
        return std::string{text};
    }
    return std::string{sequence(paint)} + std::string{text} + "\x1b[0m";
}

table::table(std::vector<column> columns) : columns_{std::move(columns)} {}

void table::add_row(std::vector<cell> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> table::widths() const {
    std::vector<std::size_t> widths(columns_.size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], display_width(row[i].text));
        }
    }
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] != 0) {
            widths[i] = std::max(widths[i], display_width(columns_[i].title));
        }
    }
    return widths;
}

std::string table::render(bool colours) const {
    if (rows_.empty()) {
        return "";
    }
    const std::vector<std::size_t> width = widths();
    std::string lines;
    const auto add_line = [&](const auto& cell_of) {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (width[i] != 0) {
                lines.append(columns_[i].gap, ' ');
                lines += padded(cell_of(i), columns_[i].align, width[i], colours);
            }
        }
        finish_line(lines);
    };
    add_line([this](std::size_t i) { return cell{columns_[i].title, colour::dim}; });
    for (const auto& row : rows_) {
        add_line([&row](std::size_t i) { return row[i]; });
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
