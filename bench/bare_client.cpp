#include "bench/bare_client.hpp"

#include "bench/stack_texts.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <open62541/client_config_default.h>
#include <open62541/plugin/pki_default.h>

namespace tarvik::bench {

namespace {

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

bool send(UA_Client* client, const std::vector<UA_ReadValueId>& items) {
    UA_ReadRequest request{};
    request.nodesToRead = const_cast<UA_ReadValueId*>(items.data());
    request.nodesToReadSize = items.size();
    UA_ReadResponse response = UA_Client_Service_read(client, request);
    const bool good = response.responseHeader.serviceResult == UA_STATUSCODE_GOOD &&
                      response.resultsSize == items.size();
    UA_ReadResponse_clear(&response);
    return good;
}

} // namespace

bare_client::prepared_read::prepared_read(read_nodes nodes) : items(nodes.size()) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        items[i] = {};
        items[i].attributeId = UA_ATTRIBUTEID_VALUE;
        UA_NodeId_parse(&items[i].nodeId, UA_STRING(const_cast<char*>(nodes[i])));
    }
}

bare_client::prepared_read::~prepared_read() {
    for (UA_ReadValueId& item : items) {
        UA_ReadValueId_clear(&item);
    }
}

void bare_client::deleter::operator()(UA_Client* client) const noexcept {
    UA_Client_delete(client);
}

bare_client::bare_client(
    channel_security security, std::uint16_t port, std::initializer_list<read_nodes> requests
)
    : requests_(requests.begin(), requests.end()) {
    UA_ClientConfig fresh{};
    fresh.logging = silent_logger();
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
    const std::string url = "opc.tcp://127.0.0.1:" + std::to_string(port) + "/";
    if (UA_Client_connect(client_.get(), url.c_str()) != UA_STATUSCODE_GOOD) {
        throw std::runtime_error{"the bare client cannot connect"};
    }
}

bool bare_client::read() const {
    return std::all_of(requests_.begin(), requests_.end(), [this](const prepared_read& request) {
        return send(client_.get(), request.items);
    });
}

} // namespace tarvik::bench
