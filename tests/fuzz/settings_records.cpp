// What a host hands over to describe a sensor, a check or a notification.

#include "opcua/checks/notification_value.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "opcua/sensors/custom_sensor_settings.hpp"
#include "tests/fuzz/doors.hpp"
#include "zunohelper/notifications/request.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <string>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::fuzz {

using libzunohelper::sensor_data_wrapper;

namespace {

/// Nothing of a secret may be told, and what is told is JSON.
void check_shown(const sensor_data_wrapper& record) {
    const auto shown = nlohmann::json::parse(record.to_json(), nullptr, false);
    require(shown.is_object(), "a record is shown as JSON");
    for (const auto& [key, text] : record.settings().all()) {
        const bool secret = key.ends_with(".password") || key.ends_with(".client_key") ||
                            key.ends_with(".client_key_password");
        if (secret && !text.view().empty() && shown["settings"].contains(key)) {
            require(shown["settings"][key] == "*****", "a secret is not shown");
        }
    }
}

void notify(const sensor_data_wrapper& record) {
    const libzunohelper::notifications::request request{record};
    tolerate([&] { static_cast<void>(request.get_log_level()); });
    tolerate([&] { static_cast<void>(opcua::create_client_settings(request, nullptr)); });
    const auto type = record.settings().find("write.type");
    tolerate([&] {
        const auto node = opcua::make_writeable_node(request.get_target());
        opcua::set_notification_value(
            *node, opcua::parse_notification_type(type.value_or("")), request.get_message(), nullptr
        );
    });
}

} // namespace

void settings_records(std::string_view input) {
    tolerate([&] {
        const sensor_data_wrapper record{
            reinterpret_cast<const std::uint8_t*>(input.data()),
            static_cast<std::uint32_t>(input.size())};
        check_shown(record);
        tolerate([&] {
            const auto sensor = opcua::settings::custom_sensor::parse(record.settings());
            const opcua::client_settings client{sensor.connection};
            require(
                client == opcua::client_settings{sensor.connection}, "equal settings are equal"
            );
            require(!opcua::endpoint_url(client).empty(), "a server has a URL");
        });
        notify(record);
    });
}

} // namespace tarvik::monitoring_modules::fuzz
