#pragma once

// Keeps log lines within bounds: the first and the last ones, and between them one line that tells
// how many were left out.

#include "common/liblog/log_interface.hpp"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::liblog {

/// What a store of lines may hold, the line about those left out included. How a plant's log looks
/// after a bad night, not a measured figure: what people still read, what messages still carry.
struct line_bounds {
    std::size_t lines = 2'000;
    std::size_t bytes = 256 * std::size_t{1024}; ///< of texts

    /// A longer text is cut, and tells so.
    [[nodiscard]] constexpr std::size_t longest() const noexcept { return bytes / 4; }
};

/// Used by one thread at a time.
class bounded_lines final {
  public:
    using entry = std::pair<severity, std::string>;

    /// @param bounds at least 4 lines and 1024 bytes.
    explicit bounded_lines(line_bounds bounds = {}) : bounds_{bounds} {}

    void add(severity level, std::string_view text);

    /// A copy, in the order in which the lines came. The line about those left out has the severity
    /// of the least important of them, so that it is in no log that would not have had them.
    [[nodiscard]] std::deque<entry> entries() const;

    void clear() noexcept;

  private:
    /// Lines, and the bytes of their texts.
    struct stretch {
        std::deque<entry> lines;
        std::size_t bytes = 0;
    };

    [[nodiscard]] bool is_half(std::size_t lines, std::size_t bytes) const noexcept;
    void drop_oldest_of_last();

    line_bounds bounds_;
    stretch first_;
    stretch last_; // used once the first are full
    std::size_t left_out_ = 0;
    severity left_out_level_ = severity::failed_check;
};

} // namespace tarvik::monitoring_modules::liblog
