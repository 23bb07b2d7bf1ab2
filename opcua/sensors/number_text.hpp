#pragma once

// Numbers in texts that a server sends.

#include <string>

namespace tarvik::monitoring_modules::opcua {

/// The number at the start of a text, as C reads it in its own locale whatever the host's is:
/// leading blanks are skipped, the longest numeric prefix counts ("12.5 °C" is 12.5), hexadecimal
/// notation, "inf" and "nan" are numbers.
/// @throws exceptions::conversion_failure when there is none or it does not fit a double.
[[nodiscard]] double leading_number(const std::string& text);

} // namespace tarvik::monitoring_modules::opcua
