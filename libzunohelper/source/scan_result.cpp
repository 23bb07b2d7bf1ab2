#include "zunohelper/scan_result.hpp"

#include "channel_json.hpp"
#include "common/catalogue/framework_exceptions.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

libi18n::i18n_msg message_of(const std::exception& reason) {
    const auto* const translated = dynamic_cast<const libi18n::i18n_exception*>(&reason);
    return translated ? translated->message()
                      : libi18n::i18n_msg{std::string{libexception::text_of(reason)}};
}

} // namespace

sensor_scan_result::sensor_scan_result(
    std::int32_t sensor_id, std::shared_ptr<channel_map> channels
)
    : sensor_id_{sensor_id},
      response_code_{scan_response_codes::ok},
      message_{libi18n::ok_message()},
      channels_{std::move(channels)} {
    if (!channels_) {
        throw std::invalid_argument{"sensor_scan_result: the channel map must not be null"};
    }
    values_.reserve(channels_->size());
}

sensor_scan_result::sensor_scan_result(
    std::int32_t sensor_id, const libi18n::i18n_exception& reason
)
    : sensor_id_{sensor_id},
      response_code_{scan_response_codes::error},
      message_{reason.message()} {}

sensor_scan_result::sensor_scan_result(std::int32_t sensor_id, const std::exception& reason)
    : sensor_id_{sensor_id},
      response_code_{scan_response_codes::error},
      message_{message_of(reason)} {}

sensor_scan_result::~sensor_scan_result() = default;

void sensor_scan_result::set_value(std::int32_t channel_id, std::int64_t value) {
    store(channel_id, dynamic_channel::value_type::integer, value);
}

void sensor_scan_result::set_value(std::int32_t channel_id, double value) {
    store(channel_id, dynamic_channel::value_type::floating_point, value);
}

void sensor_scan_result::store(
    std::int32_t channel_id, dynamic_channel::value_type type, number content
) {
    if (!channels_) {
        throw utils::exceptions::channel_map_not_initialized{};
    }
    if (channels_->type_of(channel_id) != type) {
        const char* const name = type == dynamic_channel::value_type::integer ? "integer" : "float";
        throw utils::exceptions::invalid_channel_mode{name, name};
    }
    const auto present = std::ranges::find(values_, channel_id, &channel_value::id);
    if (present != values_.end()) {
        present->content = content;
    } else {
        values_.push_back({channel_id, content});
    }
}

void sensor_scan_result::set_message(libi18n::i18n_msg message) {
    message_ = std::move(message);
}

std::string sensor_scan_result::serialize() const {
    const bool failed = response_code_ == scan_response_codes::error || !channels_;
    const auto definitions = failed ? std::span<const dynamic_channel>{} : channels_->pending();
    const auto values = failed ? std::span<const channel_value>{} : std::span{values_};

    constexpr std::size_t fixed_part = 256;
    constexpr std::size_t one_value = 52;
    std::size_t size = fixed_part + message_.identity().size() + message_.text().size() +
                       one_value * values.size();
    for (const dynamic_channel& definition : definitions) {
        size += expected_size(definition);
    }

    json_writer json{size};
    json.begin_object();
    json.key("type").text("sensor_scan_result");
    json.key("sensor_id").integer(sensor_id_);
    json.key("error_code").integer(error_code_);
    json.key("response_code").integer(static_cast<std::int32_t>(response_code_));
    json.key("message");
    write_message(json, message_);
    json.key("channel_definitions").begin_array();
    for (const dynamic_channel& definition : definitions) {
        write_channel(json, definition);
    }
    json.end_array();
    json.key("channels").begin_array();
    for (const channel_value& entry : values) {
        if (const auto* const integer = std::get_if<std::int64_t>(&entry.content)) {
            json.channel_value(entry.id, *integer);
        } else {
            json.channel_value(entry.id, std::get<double>(entry.content));
        }
    }
    json.end_array();
    json.end_object();
    return std::move(json).take();
}

void sensor_scan_result::delivered() const noexcept {
    if (channels_ && response_code_ != scan_response_codes::error) {
        channels_->mark_delivered();
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper
