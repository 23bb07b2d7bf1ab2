#pragma once
// Lines and columns of text for a terminal.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

enum class colour { plain, bold, dim, italic, green, yellow, red };

/// @return the text, in the colour when switched on
[[nodiscard]] std::string painted(std::string_view text, colour paint, bool colours);

struct cell {
    std::string text; ///< sanitised
    colour paint = colour::plain;
};

enum class alignment { left, right };

struct column {
    std::string title;
    alignment align = alignment::left;
    std::size_t gap = 2;       ///< blanks before it
    std::size_t narrowest = 0; ///< columns that it is cut to where lines get too wide; 0: never cut
    bool cut_last = false;     ///< only when all others are as narrow as they get
};

inline constexpr std::size_t any_width = static_cast<std::size_t>(-1);

/// Rows of cells; columns as wide as their widest cell, and left out when all their cells are
/// empty.
class table final {
  public:
    explicit table(std::vector<column> columns);

    /// @param cells as many as there are columns
    void add_row(std::vector<cell> cells);

    /// @param width that lines should not exceed: the widest columns are cut first, the text with
    /// "…", and those that are not to be cut stay as they are
    /// @return the titles and all rows, each with its line end; empty when there are no rows
    [[nodiscard]] std::string render(bool colours, std::size_t width = any_width) const;

  private:
    [[nodiscard]] std::vector<std::size_t> widths() const;
    void narrow(std::vector<std::size_t>& widths, std::size_t width, bool cut_last) const;

    std::vector<column> columns_;
    std::vector<std::vector<cell>> rows_;
};

} // namespace tarvik::monitoring_modules::probe
