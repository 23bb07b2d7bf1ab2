#pragma once
// The messages of the module as plain structs. Parsing forgives what is absent or unknown and names
// what is wrong.

#include "host/log.hpp"
#include "host/translation.hpp"

#include <cstdint>
#include <memory>
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

/// A message as the module sent it, JSON, with the member "translated" beside "text" where another
/// language than English is asked for; for those who pass it on. Null where nothing was sent.
using sent_message = std::shared_ptr<const std::string>;

enum class scan_state { ok, warning, error };

/// @return "warning"
[[nodiscard]] constexpr std::string_view name_of(scan_state state) noexcept {
    return state == scan_state::ok ? "ok" : state == scan_state::warning ? "warning" : "error";
}

struct scan_result {
    std::int64_t id = 0; ///< of the sensor
    std::int64_t error_code = 0;
    scan_state state = scan_state::ok;
    std::string text; ///< the sensor message
    std::vector<channel_definition> definitions;
    std::vector<channel_value> channels;
    std::string identity{}; ///< of the sensor message; @see parse_identity
    sent_message sent{};
    std::string hint{}; ///< what to do about an error, in the language of the texts; may be empty
};

struct check_result {
    std::int64_t id = 0; ///< of the check
    bool success = false;
    sent_message sent{};
};

struct notification_response {
    std::int64_t id = 0;
    std::vector<log_line> log; ///< what was logged on the way, in order; without sources
    sent_message sent{};
};

/// std::monostate: a message of a type that this program has no use for.
using any_message = std::variant<std::monostate, scan_result, check_result, notification_response>;

/// @param text one message of the module
/// @param texts say names of channels and the sensor message in their language
/// @throws probe_error (call_failed) naming the member that is missing or has a wrong type
[[nodiscard]] any_message parse_message(std::string_view text, const translation& texts = {});

/// @param messages that a call delivered
/// @param id of the sensor, check or notification that it was about
/// @return those of one type that are about it, in their order
/// @throws probe_error (call_failed) as parse_message
template <typename Message>
[[nodiscard]] std::vector<Message> messages_about(
    std::int64_t id, const std::vector<std::string>& messages, const translation& texts = {}
) {
    std::vector<Message> found;
    for (const std::string& text : messages) {
        any_message parsed = parse_message(text, texts);
        if (auto* message = std::get_if<Message>(&parsed);
            message != nullptr && message->id == id) {
            found.push_back(std::move(*message));
        }
    }
    return found;
}

} // namespace tarvik::monitoring_modules::probe
