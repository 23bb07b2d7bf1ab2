#pragma once

// Pieces of Markdown.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::information {

/// A text of users for a cell of a table: markup becomes Markdown, "|" is escaped.
[[nodiscard]] std::string cell(std::string_view text);

/// The text as code, or "-" for an empty one.
[[nodiscard]] std::string code(std::string_view text);

/// A table; every row has as many cells as the head.
class markdown_table {
  public:
    /// Writes the head at once.
    markdown_table(std::ostream& out, const std::vector<std::string>& head);

    void row(const std::vector<std::string>& cells);

  private:
    std::ostream& out_;
};

} // namespace tarvik::monitoring_modules::information
