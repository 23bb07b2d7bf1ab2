#pragma once

// Settings for tests, from key-value pairs as a host sends them.

#include "zunohelper/sensor_data_wrapper.hpp"

#include <cstdint>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::tests {

using setting_map = std::map<std::string, std::string>;

/// A settings record of some kind for the host 127.0.0.1, unless the settings name another.
inline libzunohelper::sensor_data_wrapper make_data(const setting_map& settings) {
    nlohmann::json record{{"kind", "custom_sensor"}, {"settings", {{"host", "127.0.0.1"}}}};
    for (const auto& [key, text] : settings) {
        record["settings"][key] = text;
    }
    const std::string bytes = record.dump();
    return {
        reinterpret_cast<const std::uint8_t*>(bytes.data()),
        static_cast<std::uint32_t>(bytes.size())};
}

} // namespace tarvik::monitoring_modules::tests
