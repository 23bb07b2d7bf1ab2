#pragma once
// Messages for other programs: one line of JSON each, as the module sent it, with what this program
// worked out added.

#include "host/channel_memory.hpp"
#include "host/log.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @param result that parse_message made
/// @param channels its channels, in its order
/// @param scan counts from 1
/// @return the message with "scan", "state" and, of an error, where they apply "status_name" and
/// "hint"; in each channel "name", "text", "scaled", and where they apply "lookup_text",
/// "growth_per_second" and "state"; ends with a line end
[[nodiscard]] std::string
scan_json(const scan_result& result, const std::vector<channel_view>& channels, std::size_t scan);

/// Why a check answered no, or a notification was not written.
struct failure_reason {
    std::string text;       ///< empty: not known
    std::string identity{}; ///< of the text; empty: it has none
    std::string hint{};     ///< what to do about it; may be empty
};

/// What became of a notification.
struct notification_outcome {
    std::string status; ///< of the call, as a word
    bool written = false;
    failure_reason reason{}; ///< when it was not written
};

/// @param response null: there is none
/// @return the message with "status", "written" and, unless it was written, "reason", and where
/// they apply "status_name" and "hint"; ends with a line end
[[nodiscard]] std::string
notification_json(const notification_response* response, const notification_outcome& outcome);

/// @return the message with, if the check answered no, "reason", and where they apply "status_name"
/// and "hint"; then "log": what the module logged; ends with a line end
[[nodiscard]] std::string check_json(
    const check_result& result, const failure_reason& reason, const std::vector<log_line>& log
);

} // namespace tarvik::monitoring_modules::probe
