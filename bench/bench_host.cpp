#include "bench/bench_host.hpp"

#include "bench/stack_texts.hpp"

#include <stdexcept>

#include <nlohmann/json.hpp>
#include <open62541/plugin/create_certificate.h>
#include <open62541/types_generated_handling.h>

namespace tarvik::bench {

namespace {

// What the last message on this thread said.
thread_local bool all_is_well = false;

void receive(std::uint64_t, const std::uint8_t* bytes, std::uint32_t size) {
    const std::string_view message{reinterpret_cast<const char*>(bytes), size};
    all_is_well = message.find("\"response_code\":0,") != std::string_view::npos;
}

/// Bytes that the stack fills and this frees.
struct byte_string {
    byte_string() = default;
    byte_string(const byte_string&) = delete;
    byte_string& operator=(const byte_string&) = delete;
    ~byte_string() { UA_ByteString_clear(&bytes); }
    [[nodiscard]] std::string text() const {
        return {reinterpret_cast<const char*>(bytes.data), bytes.length};
    }
    UA_ByteString bytes{};
};

/// The host and how to reach the plant there, without a kind's own settings.
nlohmann::json connection_settings(channel_security security, std::uint16_t port) {
    nlohmann::json settings{
        {"host", "127.0.0.1"},
        {"credentials.connection_opcua.port", port},
    };
    if (security == channel_security::sign_encrypt) {
        const std::string group = "credentials.connection_security.";
        settings[group + "security_mode"] = "sign_encrypt";
        settings[group + "security_policy"] = "Basic256Sha256";
        settings[group + "client_certificate"] = own_key_pair().certificate;
        settings[group + "client_key"] = own_key_pair().private_key;
    }
    return settings;
}

} // namespace

simulator::plant_server& plant() {
    static simulator::plant_server server{[] {
        simulator::plant_options options;
        options.auto_change = false;
        options.endpoints = {.none = true, .sign = false, .sign_encrypt = true};
        return options;
    }()};
    server.start();
    return server;
}

const client_key_pair& own_key_pair() {
    static const client_key_pair pair = [] {
        const std::string common_name = "CN=bench";
        const std::string uri = "URI:urn:tarvik:bench";
        const UA_String subject = borrowed(common_name);
        const UA_String name = borrowed(uri);
        UA_UInt16 bits = 2048;
        UA_KeyValuePair parameter{UA_QUALIFIEDNAME(0, const_cast<char*>("key-size-bits")), {}};
        UA_Variant_setScalar(&parameter.value, &bits, &UA_TYPES[UA_TYPES_UINT16]);
        UA_KeyValueMap parameters{1, &parameter};
        byte_string key;
        byte_string certificate;
        if (UA_CreateCertificate(
                silent_logger(),
                &subject,
                1,
                &name,
                1,
                UA_CERTIFICATEFORMAT_PEM,
                &parameters,
                &key.bytes,
                &certificate.bytes
            ) != UA_STATUSCODE_GOOD) {
            throw std::runtime_error{"no client certificate could be made"};
        }
        return client_key_pair{certificate.text(), key.text()};
    }();
    return pair;
}

std::string sensor_record(channel_security security) {
    nlohmann::json settings = connection_settings(security, plant().port());
    settings["custom.sensor_message_custom.nodeid"] = node_ids.back();
    for (std::size_t i = 0; i + 1 < node_ids.size(); ++i) {
        const std::string channel = "custom.connection_custom.channel" + std::to_string(i + 1);
        settings[channel] = "enable";
        settings[channel + "_nodeid"] = node_ids.at(i);
    }
    return nlohmann::json{{"kind", "custom_sensor"}, {"settings", settings}}.dump();
}

std::string status_record(channel_security security, std::uint16_t port) {
    return nlohmann::json{
        {"kind", "server_status_sensor"}, {"settings", connection_settings(security, port)}}
        .dump();
}

module_host& module_host::instance() {
    static module_host host;
    return host;
}

module_host::module_host() {
    if (InitializeModule(0, receive) != OPCUA_MODULE_INITIALISED) {
        throw std::runtime_error{"the module cannot be initialised"};
    }
}

bool module_host::create(std::int32_t id, std::string_view record) const {
    return CreateSensorInstance(
               id,
               reinterpret_cast<const std::uint8_t*>(record.data()),
               static_cast<std::uint32_t>(record.size())
           ) == OPCUA_MODULE_DONE;
}

bool module_host::create(std::int32_t id, channel_security security) const {
    return create(id, sensor_record(security));
}

bool module_host::scan(std::int32_t id) const {
    all_is_well = false;
    return ExecuteSensorScan(id) == OPCUA_MODULE_DONE && all_is_well;
}

void module_host::destroy(std::int32_t id) const {
    DestroySensorInstance(id);
}

} // namespace tarvik::bench
