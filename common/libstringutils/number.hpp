#pragma once

// Numbers at the start of texts that somebody else wrote: servers, users.
//
// They are read as C reads them in its own locale, whatever the host's is: leading blanks are
// skipped, then the longest numeric prefix counts. A zero byte ends the text.

#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::libstringutils {

/// "12.5 °C" is 12.5; hexadecimal notation, "inf" and "nan" are numbers.
/// @throws std::invalid_argument when there is none.
/// @throws std::out_of_range when it does not fit a double, neither as too large nor as too small.
[[nodiscard]] double leading_double(const std::string& text);

/// Decimal digits with an optional sign: "42.9" is 42.
/// @throws std::invalid_argument when there are none.
/// @throws std::out_of_range beyond 64 bits.
[[nodiscard]] std::int64_t leading_integer(const std::string& text);

} // namespace tarvik::monitoring_modules::libstringutils
