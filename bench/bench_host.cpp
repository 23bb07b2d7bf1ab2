#include "bench/bench_host.hpp"

#include <stdexcept>

#include <nlohmann/json.hpp>
#include <open62541/client_config_default.h>
#include <open62541/plugin/create_certificate.h>
#include <open62541/plugin/pki_default.h>

namespace tarvik::bench {

namespace {

std::uint64_t messages_received = 0;

void receive(std::uint64_t, const std::uint8_t*, std::uint32_t) {
    ++messages_received;
}

void drop_line(void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}

UA_Logger silent{drop_line, nullptr, nullptr};

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

UA_ByteString borrowed(const std::string& text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

/// The module's client has a key pair in every mode, so the bare one has one, too.
void install_key_pair(UA_ClientConfig& config) {
    const client_key_pair& pair = own_key_pair();
    UA_ClientConfig_setDefaultEncryption(
        &config, borrowed(pair.certificate), borrowed(pair.private_key), nullptr, 0, nullptr, 0
    );
    UA_CertificateVerification_AcceptAll(&config.certificateVerification);
    UA_String_clear(&config.clientDescription.applicationUri);
    config.clientDescription.applicationUri = UA_STRING_ALLOC("urn:tarvik:bench");
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
                &silent,
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
    if (security == channel_security::sign_encrypt) {
        const std::string group = "credentials.connection_security.";
        settings[group + "security_mode"] = "sign_encrypt";
        settings[group + "security_policy"] = "Basic256Sha256";
        settings[group + "client_certificate"] = own_key_pair().certificate;
        settings[group + "client_key"] = own_key_pair().private_key;
    }
    return nlohmann::json{{"kind", "custom_sensor"}, {"settings", settings}}.dump();
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

bool module_host::create(std::int32_t id, channel_security security) const {
    const std::string record = sensor_record(security);
    return CreateSensorInstance(
               id,
               reinterpret_cast<const std::uint8_t*>(record.data()),
               static_cast<std::uint32_t>(record.size())
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

bare_client::bare_client(channel_security security) {
    UA_ClientConfig fresh{};
    fresh.logging = &silent;
    UA_ClientConfig_setDefault(&fresh);
    client_.reset(UA_Client_newWithConfig(&fresh));
    UA_ClientConfig& config = *UA_Client_getConfig(client_.get());
    install_key_pair(config);
    if (security == channel_security::sign_encrypt) {
        config.securityMode = UA_MESSAGESECURITYMODE_SIGNANDENCRYPT;
        config.securityPolicyUri =
            UA_STRING_ALLOC("http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256");
    } else {
        config.securityMode = UA_MESSAGESECURITYMODE_NONE;
    }
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
