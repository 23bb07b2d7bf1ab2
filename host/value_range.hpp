#pragma once
// Ranges of values in the notation of monitoring plugins.

#include <limits>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// Where a value is with regard to a range.
enum class range_side { good, below, above, inside };

/// The good values, ends included; or, when inverted, the bad ones.
struct value_range {
    double start = 0; ///< may be -infinity
    double end = std::numeric_limits<double>::infinity();
    bool inverted = false;

    bool operator==(const value_range&) const = default;

    /// @param value not NaN
    /// @return good, or why it is not; inside only when inverted
    [[nodiscard]] range_side side(double value) const noexcept;
};

/// @param text "10", "10:", "~:10", "10:20" or "@10:20"; numbers with a decimal point, finite
/// @throws probe_error (usage) telling what is wrong with it
[[nodiscard]] value_range parse_range(std::string_view text);

/// @return the range as parse_range reads it, in decimals without exponents
[[nodiscard]] std::string to_text(const value_range& range);

} // namespace tarvik::monitoring_modules::probe
