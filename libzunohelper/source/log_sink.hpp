#pragma once

// Where all log lines of the process go: to the host's sink, or without one to standard error.

#include "common/liblog/log_interface.hpp"

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper::log_sink {

/// Writes one line. Any thread may call it.
/// @param source "runtime", or "sensor 7".
void write(const std::string& source, liblog::severity level, std::string_view text);

/// @return the highest severity number that write does not drop now.
[[nodiscard]] liblog::severity threshold() noexcept;

/// @return the text as one line of valid UTF-8: without the line end at its end, control characters
/// as escapes such as \n, each byte that is no UTF-8 as U+FFFD.
[[nodiscard]] std::string one_line(std::string_view text);

} // namespace tarvik::monitoring_modules::libzunohelper::log_sink
