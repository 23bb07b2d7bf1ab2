#include "zunohelper/sensor_data_wrapper.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "json_writer.hpp"
#include "secret_settings.hpp"
#include "settings_parser.hpp"

#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

sensor_data_wrapper::sensor_data_wrapper(const std::uint8_t* bytes, std::uint32_t size) {
    if (size > max_size_bytes) {
        throw utils::exceptions::message_too_long{
            std::to_string(size), std::to_string(max_size_bytes)};
    }
    if (!bytes && size > 0) {
        throw libjsonparser::exceptions::parse{"There is no data at a null pointer."};
    }
    settings_parser parser;
    parser.parse({reinterpret_cast<const char*>(bytes), size});
    if (!parser.kind()) {
        throw utils::exceptions::setting_not_available{"kind"};
    }
    auto settings = parser.take_settings();
    if (!settings) {
        throw utils::exceptions::setting_not_available{"settings"};
    }
    kind_ = *parser.kind();
    settings_ = settings_reader{std::move(*settings)};
}

std::string sensor_data_wrapper::to_json() const {
    std::size_t size = 64 + kind_.size();
    for (const auto& [key, text] : settings_.all()) {
        size += 8 + key.size() + text.size();
    }
    json_writer json{size};
    json.begin_object();
    json.key("kind").text(kind_);
    json.key("settings").begin_object();
    std::string last;
    for (const auto& [key, text] : settings_.all()) {
        std::string shown = secret_settings::shown_key(key);
        if (shown != key && shown == last) {
            continue; // of all that stands below a secret, one line is enough
        }
        json.escaped_key(shown).text(secret_settings::shown_text(key, text.view()));
        last = std::move(shown);
    }
    json.end_object();
    json.end_object();
    return std::move(json).take();
}

} // namespace tarvik::monitoring_modules::libzunohelper
