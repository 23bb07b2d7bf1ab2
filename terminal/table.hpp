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
    std::size_t gap = 2; ///< blanks before it
};

/// Rows of cells; columns as wide as their widest cell, and left out when all their cells are
/// empty.
class table final {
  public:
    explicit table(std::vector<column> columns);

    /// @param cells as many as there are columns
    void add_row(std::vector<cell> cells);

    /// @return the titles and all rows, each with its line end; empty when there are no rows
    [[nodiscard]] std::string render(bool colours) const;

  private:
    std::vector<column> columns_;
    std::vector<std::vector<cell>> rows_;
};

} // namespace tarvik::monitoring_modules::probe
