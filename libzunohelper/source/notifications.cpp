// The notifications' values: a request's settings and a response's bytes.

#include "json_writer.hpp"
#include "zunohelper/notifications/request.hpp"
#include "zunohelper/notifications/response.hpp"
#include "zunohelper/setting_kinds.hpp"

#include <limits>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper::notifications {

namespace {

constexpr std::int64_t default_timeout_s = 5;
constexpr std::int64_t longest_timeout_s = std::numeric_limits<std::uint32_t>::max() / 1000;
constexpr auto most_verbose = static_cast<std::int64_t>(liblog::severity::debug);

} // namespace

request::request(sensor_data_wrapper data) : data_{std::move(data)} {}

std::string request::get_target() const {
    return read(settings(), "target", kind_string{});
}

std::string request::get_message() const {
    return read(settings(), "message", kind_string{});
}

std::uint64_t request::get_timeout_s() const {
    const kind_integer seconds{.minimum = 1, .maximum = longest_timeout_s};
    return static_cast<std::uint64_t>(read(settings(), "timeout", seconds, default_timeout_s));
}

liblog::severity request::get_log_level() const {
    const kind_integer level{.minimum = 0, .maximum = most_verbose};
    return liblog::severity{
        static_cast<std::int32_t>(read(settings(), "log_level", level, most_verbose))};
}

response::response(std::deque<entry> log) : log_{std::move(log)} {}

std::string response::serialize() const {
    constexpr std::size_t fixed_part = 32; // of one line
    std::size_t size = 2;
    for (const auto& [level, text] : log_) {
        size += fixed_part + text.size();
    }
    json_writer json{size};
    json.begin_array();
    for (const auto& [level, text] : log_) {
        json.begin_object();
        json.key("severity").integer(static_cast<std::int32_t>(level));
        json.key("text").text(text);
        json.end_object();
    }
    json.end_array();
    return std::move(json).take();
}

response_message::response_message(std::int32_t id, std::string log)
    : id_{id},
      log_{std::move(log)} {}

std::string response_message::serialize() const {
    json_writer json{64 + log_.size()};
    json.begin_object();
    json.key("type").text("notification_response");
    json.key("id").integer(id_);
    json.key("log").raw(log_.empty() ? "[]" : std::string_view{log_});
    json.end_object();
    return std::move(json).take();
}

} // namespace tarvik::monitoring_modules::libzunohelper::notifications
