#include "bench/bench_host.hpp"

#include <stdexcept>

#include <nlohmann/json.hpp>
#include <open62541/client_config_default.h>

namespace tarvik::bench {

namespace {

std::uint64_t messages_received = 0;

void receive(std::uint64_t, const std::uint8_t*, std::uint32_t) {
    ++messages_received;
}

void drop_line(void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}

UA_Logger silent{drop_line, nullptr, nullptr};

} // namespace

simulator::plant_server& plant() {
    static simulator::plant_server server{[] {
        simulator::plant_options options;
        options.auto_change = false;
        return options;
    }()};
    server.start();
    return server;
}

std::string sensor_record() {
    nlohmann::json settings{
        {"host", "127.0.0.1"},
        {"credentials.connection_opcua.port", plant().port()},
        {"custom.sensor_message_custom.nodeid", node_ids.back()},
    };
    for (std::size_t i = 0; i + 1 < node_ids.size(); ++i) {
        const std::string channel = "custom.connection_custom.channel" + std::to_string(i + 1);
        settings[channel] = "enable";
        settings[channel + "_nodeid"] = node_ids.at(i);
    }
    return nlohmann::json{{"kind", "custom_sensor"}, {"settings", settings}}.dump();
}

module_host& module_host::instance() {
    static module_host host;
    return host;
}

module_host::module_host() : record_{sensor_record()} {
    if (InitializeModule(0, receive) != OPCUA_MODULE_INITIALISED) {
        throw std::runtime_error{"the module cannot be initialised"};
    }
}

bool module_host::create(std::int32_t id) const {
    return CreateSensorInstance(
               id,
               reinterpret_cast<const std::uint8_t*>(record_.data()),
               static_cast<std::uint32_t>(record_.size())
           ) == OPCUA_MODULE_DONE;
}

bool module_host::scan(std::int32_t id) const {
    return ExecuteSensorScan(id) == OPCUA_MODULE_DONE;
}

void module_host::destroy(std::int32_t id) const {
    DestroySensorInstance(id);
}

bare_client::node_id_list::node_id_list() : items(node_ids.size()) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        items[i] = {};
        items[i].attributeId = UA_ATTRIBUTEID_VALUE;
        UA_NodeId_parse(&items[i].nodeId, UA_STRING(const_cast<char*>(node_ids.at(i))));
    }
}

bare_client::node_id_list::~node_id_list() {
    for (UA_ReadValueId& item : items) {
        UA_ReadValueId_clear(&item);
    }
}

void bare_client::deleter::operator()(UA_Client* client) const noexcept {
    UA_Client_delete(client);
}

bare_client::bare_client() {
    UA_ClientConfig config{};
    config.logging = &silent;
    UA_ClientConfig_setDefault(&config);
    client_.reset(UA_Client_newWithConfig(&config));
    if (UA_Client_connect(client_.get(), plant().endpoint_url().c_str()) != UA_STATUSCODE_GOOD) {
        throw std::runtime_error{"the bare client cannot connect"};
    }
}

bool bare_client::read() const {
    UA_ReadRequest request{};
    request.nodesToRead = const_cast<UA_ReadValueId*>(nodes_.items.data());
    request.nodesToReadSize = nodes_.items.size();
    UA_ReadResponse response = UA_Client_Service_read(client_.get(), request);
    const bool good = response.responseHeader.serviceResult == UA_STATUSCODE_GOOD &&
                      response.resultsSize == nodes_.items.size();
    UA_ReadResponse_clear(&response);
    return good;
}

} // namespace tarvik::bench
