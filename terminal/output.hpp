#pragma once
// Standard output: the answers of the program.

#include <cstddef>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

class output final {
  public:
    /// Colours when standard output is a terminal that has them and $NO_COLOR is not set.
    output() noexcept;

    /// Writes at once.
    /// @param text safe for a terminal
    /// @throws probe_error (output_failed)
    void write(std::string_view text) const;

    [[nodiscard]] bool colours() const noexcept { return colours_; }

    /// @return how wide lines of running text may be: as the terminal, within what reads well
    [[nodiscard]] std::size_t columns() const noexcept;

  private:
    bool colours_;
};

} // namespace tarvik::monitoring_modules::probe
