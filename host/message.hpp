#pragma once
// The messages of the module as plain structs. Parsing forgives what is absent or unknown and names
// what is wrong.

#include "host/log.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A channel's value as the module sent it; doubles may be NaN or infinite.
using channel_number = std::variant<std::int64_t, double>;

[[nodiscard]] double as_double(const channel_number& value) noexcept;

enum class unit_code {
    custom = 0,
    memory_size = 1, ///< bytes
    temperature = 2, ///< degrees Celsius
    percent = 3,
    time_span = 7, ///< seconds
    count = 10
};

struct channel_unit {
    std::int64_t code = 0; ///< a unit_code, or one that this program does not know
    std::string name;
    std::string text; ///< of custom units
};

struct channel_limits {
    bool enabled = false;
    std::optional<double> lower_error;
    std::optional<double> lower_warning;
    std::optional<double> upper_warning;
    std::optional<double> upper_error;
};

struct channel_definition {
    std::int64_t id = 0;
    std::string name;
    channel_unit unit;
    bool difference = false; ///< the growth per time is what counts
    std::string lookup;      ///< empty: none
    double multiplier = 1.0;
    channel_limits limits;
};

struct channel_value {
    std::int64_t id = 0;
    channel_number value;
};

enum class scan_state { ok, warning, error };

struct scan_result {
    std::int64_t sensor_id = 0;
    std::int64_t error_code = 0;
    scan_state state = scan_state::ok;
    std::string text; ///< the sensor message
    std::vector<channel_definition> definitions;
    std::vector<channel_value> channels;
    std::string identity{}; ///< of the sensor message; @see parse_identity
};

struct check_result {
    std::int64_t check_id = 0;
    bool success = false;
};

struct notification_response {
    std::int64_t id = 0;
    std::vector<log_line> log; ///< what was logged on the way, in order; without sources
};

/// A message of a type that this program has no use for.
struct other_message {
    std::string type;
};

using any_message = std::variant<scan_result, check_result, notification_response, other_message>;

/// @param text one message of the module
/// @throws probe_error (call_failed) naming the member that is missing or has a wrong type
[[nodiscard]] any_message parse_message(std::string_view text);

} // namespace tarvik::monitoring_modules::probe
