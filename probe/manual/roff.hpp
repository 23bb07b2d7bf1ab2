#pragma once
// Manual pages in roff: texts that show as they are, and the few macros that pages of commands
// need.

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A piece of roff, in contrast to text that is to be shown. One line, ASCII.
struct roff_code {
    std::string code;

    roff_code& operator+=(const roff_code& more);
};
[[nodiscard]] roff_code operator+(roff_code left, const roff_code& right);

// The text as it is, UTF-8, wherever it stands in a line; hyphens and quotes can be copied from the
// page.
[[nodiscard]] roff_code plain(std::string_view text);
[[nodiscard]] roff_code bold(std::string_view text);
[[nodiscard]] roff_code italic(std::string_view text);

class roff_page final {
  public:
    /// @param source the program and its version
    /// @param manual what the page belongs to
    roff_page(std::string_view name, std::string_view source, std::string_view manual);

    void section(std::string_view title);
    void subsection(std::string_view title);
    void paragraph(const roff_code& text);
    /// @param text indented below the tag
    void tagged(const roff_code& tag, const roff_code& text);
    /// Lines as they are.
    void verbatim(const std::vector<std::string>& lines);

    [[nodiscard]] const std::string& text() const noexcept { return text_; }

  private:
    void line(const std::string& code);

    std::string text_;
};

} // namespace tarvik::monitoring_modules::probe
