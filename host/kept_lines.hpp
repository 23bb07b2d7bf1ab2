#pragma once
// Log lines and events kept for later, within bounds: the first and the last ones, and between them
// one line that tells how many were left out.

#include "host/log.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using log_entry = std::variant<log_line, module_event>;

/// @return those entries that are lines
[[nodiscard]] std::vector<log_line> lines_of(std::vector<log_entry> entries);

/// Used by one thread at a time.
class kept_lines final {
  public:
    /// What is kept at most, the line about those left out included; as a notification's answer.
    static constexpr std::size_t most_lines = 2'000;
    static constexpr std::size_t most_bytes = 256 * 1024;       ///< of texts
    static constexpr std::size_t longest_line = most_bytes / 4; ///< what is longer is cut

    void add(log_entry entry);

    /// @return what was kept since the last time, in the order in which it came
    [[nodiscard]] std::vector<log_entry> take();

  private:
    void drop_oldest_of_last();

    std::vector<log_entry> first_;
    std::deque<log_entry> last_; // used once the first are full
    std::size_t first_bytes_ = 0;
    std::size_t last_bytes_ = 0;
    std::size_t left_out_ = 0;
    std::int32_t left_out_severity_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
