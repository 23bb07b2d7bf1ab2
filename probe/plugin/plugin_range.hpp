#pragma once
// Ranges of values in the notation of monitoring plugins.

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Where a value is with regard to a range.
enum class range_side { good, below, above, inside };

/// The good values, ends included; or, when inverted, the bad ones.
struct plugin_range {
    double start = 0; ///< may be -infinity
    double end = std::numeric_limits<double>::infinity();
    bool inverted = false;

    /// @param value not NaN
    /// @return good, or why it is not; inside only when inverted
    [[nodiscard]] range_side side(double value) const noexcept;
};

/// @param text "10", "10:", "~:10", "10:20" or "@10:20"; numbers with a decimal point, finite
/// @throws probe_error (usage) telling what is wrong with it
[[nodiscard]] plugin_range parse_range(std::string_view text);

/// @return the range as parse_range reads it, in decimals without exponents
[[nodiscard]] std::string to_text(const plugin_range& range);

/// A range for one channel, as the command line gives it.
struct channel_range {
    std::string option;  ///< "--warning" or "--critical"
    std::string channel; ///< name or number; empty: the only one
    plugin_range range;
};

/// @param arguments [CHANNEL=]RANGE each; a channel's name may hold "=", a range does not
/// @throws probe_error (usage)
[[nodiscard]] std::vector<channel_range>
parse_channel_ranges(const std::string& option, const std::vector<std::string>& arguments);

} // namespace tarvik::monitoring_modules::probe
