// Whole answers to Read, on their way through the sensors that asked to the values that a host
// shows. First byte: the kind of sensor and the form of the answers, then the answers.

#include "common/liblog/null_logger.hpp"
#include "host/channel_memory.hpp"
#include "host/message_json.hpp"
#include "module/registrations.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "tests/fuzz/answering_client.hpp"
#include "tests/fuzz/doors.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/sensor_dispatcher.hpp"

#include <chrono>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

using libzunohelper::factory;
using libzunohelper::service_container;

namespace {

constexpr const char* connection =
    R"("host": "127.0.0.1", "credentials.connection_opcua.port": "4840")";

/// @param channels of a custom sensor
std::string record_of(unsigned kind, std::size_t channels) {
    if (kind == 0) {
        return std::string{R"({"kind": "server_status_sensor", "settings": {)"} + connection + "}}";
    }
    if (kind == 1) {
        return std::string{R"({"kind": "beckhoff_ipc_system_status_sensor", "settings": {)"} +
               connection + "}}";
    }
    std::string record = std::string{R"({"kind": "custom_sensor", "settings": {)"} + connection;
    for (std::size_t i = 1; i <= channels; ++i) {
        const std::string key = R"(, "custom.connection_custom.channel)" + std::to_string(i);
        record += key + R"(": "enable")" + key + R"(_nodeid": ")";
        record += i % 3 == 0 ? "'ns=2;i=1'[1]" : "ns=2;i=" + std::to_string(i);
        record += "\"";
    }
    return record + R"(, "custom.connection_custom.messagenodeid": "ns=2;s=Text"}})";
}

/// What every host can rely upon.
void receive(const std::vector<std::string>& messages) {
    const probe::module_document document;
    probe::channel_memory memory{document};
    const auto now = std::chrono::steady_clock::now();
    for (const probe::scan_result& result :
         probe::messages_about<probe::scan_result>(7, messages)) {
        require(!probe::scan_json(result, memory.take(result, now), 1).empty(), "a scan is shown");
    }
}

} // namespace

void read_answers(std::string_view input) {
    input_parts answers{input};
    const unsigned choice = answers.number();
    const auto form = choice % 2 == 0 ? answer_form::whole : answer_form::fitting;
    const auto container = std::make_shared<service_container>();
    std::vector<std::string> messages;
    container->register_instance<libzunohelper::message_service_interface>(
        std::make_shared<libzunohelper::message_service>(
            [&messages](const std::uint8_t* bytes, std::uint64_t count) {
                messages.emplace_back(reinterpret_cast<const char*>(bytes), count);
            }
        )
    );
    container->register_instance<liblog::log_interface>(std::make_shared<liblog::null_logger>());
    container->register_factory<factory<opcua::client_interface, opcua::client_settings>>(
        [&](opcua::client_settings settings) {
            return std::make_unique<answering_client>(std::move(settings), answers, form);
        }
    );
    container
        ->register_factory<factory<opcua::readable_variable_node_interface, const std::string&>>(
            opcua::make_readable_node
        );
    libzunohelper::sensor_dispatcher dispatcher{container};
    register_sensors(dispatcher);
    const std::string record = record_of(choice / 2 % 4, 1 + choice / 8 % 10);
    const libzunohelper::sensor_data_wrapper data{
        reinterpret_cast<const std::uint8_t*>(record.data()),
        static_cast<std::uint32_t>(record.size())};
    tolerate([&] {
        static_cast<void>(dispatcher.create_sensor_instance(7, data));
        static_cast<void>(dispatcher.execute_sensor_scan(7));
        static_cast<void>(dispatcher.execute_sensor_scan(7));
    });
    receive(messages);
}

} // namespace tarvik::monitoring_modules::fuzz
