#include "zunohelper/sensor_data_wrapper.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "json_writer.hpp"
#include "settings_parser.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

constexpr std::array<std::string_view, 4> secret_names{
    "password", "client_key_password", "client_key", "tarvikcloudapikey"};

/// Whether any component of a dotted key names a secret: what stands below a secret is one too.
bool is_secret(std::string_view key) {
    for (;;) {
        const std::size_t dot = key.find('.');
        if (std::ranges::find(secret_names, key.substr(0, dot)) != secret_names.end()) {
            return true;
        }
        if (dot == std::string_view::npos) {
            return false;
        }
        key.remove_prefix(dot + 1);
    }
}

} // namespace

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
    constexpr std::string_view mask = "*****";
    std::size_t size = 64 + kind_.size();
    for (const auto& [key, text] : settings_.all()) {
        size += 8 + key.size() + (is_secret(key) ? mask.size() : text.size());
    }
    json_writer json{size};
    json.begin_object();
    json.key("kind").text(kind_);
    json.key("settings").begin_object();
    for (const auto& [key, text] : settings_.all()) {
        json.escaped_key(key).text(!text.empty() && is_secret(key) ? mask : text.view());
    }
    json.end_object();
    json.end_object();
    return std::move(json).take();
}

} // namespace tarvik::monitoring_modules::libzunohelper
