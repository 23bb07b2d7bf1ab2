#include "terminal/table.hpp"

#include "text/terminal_text.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Of "Select Graphic Rendition" (ECMA-48, 8.3.117), in the order of the colours.
constexpr auto renditions = std::to_array<int>({0, 1, 2, 3, 32, 33, 31});

[[nodiscard]] std::string
padded(const cell& content, alignment align, std::size_t width, bool colours) {
    const std::string shown = cut(content.text, width);
    const std::size_t used = display_width(shown);
    const std::string blanks(width - std::min(width, used), ' ');
    const std::string text = painted(shown, content.paint, colours);
    return align == alignment::left ? text + blanks : blanks + text;
}

} // namespace

std::string painted(std::string_view text, colour paint, bool colours) {
    if (!colours || paint == colour::plain || text.empty()) {
        return std::string{text};
    }
    const int rendition = renditions.at(static_cast<std::size_t>(paint));
    return "\x1b[" + std::to_string(rendition) + "m" + std::string{text} + "\x1b[0m";
}

table::table(std::vector<column> columns) : columns_{std::move(columns)} {}

void table::add_row(std::vector<cell> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> table::widths() const {
    std::vector<std::size_t> widths(columns_.size());
    for (std::size_t i = 0; i < widths.size(); ++i) {
        for (const auto& row : rows_) {
            widths[i] = std::max(widths[i], display_width(row[i].text));
        }
        if (widths[i] != 0) {
            widths[i] = std::max(widths[i], display_width(columns_[i].title));
        }
    }
    return widths;
}

void table::narrow(std::vector<std::size_t>& widths, std::size_t width, bool cut_last) const {
    std::size_t used = 0;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        used += widths[i] == 0 ? 0 : widths[i] + columns_[i].gap;
    }
    for (; used > width; --used) {
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const column& each = columns_[i];
            if (each.cut_last == cut_last && each.narrowest > 0 && widths[i] > each.narrowest &&
                (widest == nullptr || widths[i] > *widest)) {
                widest = &widths[i];
            }
        }
        if (widest == nullptr) {
            return;
        }
        --*widest;
    }
}

std::string table::render(bool colours, std::size_t width) const {
    if (rows_.empty()) {
        return "";
    }
    std::vector<std::size_t> widths = this->widths();
    narrow(widths, width, false);
    narrow(widths, width, true);
    std::string lines;
    const auto add_line = [&](const auto& cell_of) {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (widths[i] != 0) {
                lines.append(columns_[i].gap, ' ');
                lines += padded(cell_of(i), columns_[i].align, widths[i], colours);
            }
        }
        lines.erase(lines.find_last_not_of(' ') + 1);
        lines += '\n';
    };
    add_line([this](std::size_t i) { return cell{columns_[i].title, colour::dim}; });
    for (const auto& row : rows_) {
        add_line([&row](std::size_t i) { return row[i]; });
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
