#pragma once
// A plain client of the stack, so that the simulator is judged by what goes over the wire.

#include "simulator/certificate_maker.hpp"
#include "simulator/plant_values.hpp"
#include "tests/support/patience.hpp"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/client.h>
#include <open62541/client_config_default.h>
#include <open62541/client_highlevel.h>
#include <open62541/plugin/pki_default.h>

namespace tarvik::simulator {

struct login {
    UA_MessageSecurityMode mode = UA_MESSAGESECURITYMODE_NONE;
    const char* user = nullptr;
    const char* password = nullptr;
    const server_identity* certificate = nullptr; // null: a new one
};

class test_client final {
  public:
    explicit test_client(std::chrono::milliseconds timeout = std::chrono::seconds{10}) {
        static UA_Logger silent{
            [](void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}, nullptr, nullptr};
        UA_ClientConfig config{};
        config.logging = &silent;
        UA_ClientConfig_setDefault(&config);
        config.timeout = static_cast<UA_UInt32>(timeout.count());
        client_.reset(UA_Client_newWithConfig(&config));
    }

    UA_StatusCode connect(const std::string& url, const login& as = {}) {
        UA_ClientConfig& config = *UA_Client_getConfig(client_.get());
        if (as.mode != UA_MESSAGESECURITYMODE_NONE || as.user != nullptr) {
            const server_identity own = as.certificate != nullptr
                                            ? *as.certificate
                                            : make_identity({}, "urn:tarvik:test", "test client");
            const auto bytes = [](const der_bytes& der) {
                return borrow({reinterpret_cast<const char*>(der.data()), der.size()});
            };
            const UA_ByteString certificate = bytes(own.certificate);
            const UA_ByteString key = bytes(own.private_key);
            UA_ClientConfig_setDefaultEncryption(&config, certificate, key, nullptr, 0, nullptr, 0);
            UA_CertificateVerification_AcceptAll(&config.certificateVerification);
        }
        config.securityMode = as.mode;
        return as.user == nullptr
                   ? UA_Client_connect(client_.get(), url.c_str())
                   : UA_Client_connectUsername(client_.get(), url.c_str(), as.user, as.password);
    }

    /// @return the status of the service if that failed, else of the value
    UA_StatusCode
    read(std::string_view id, variant& value, UA_AttributeId attribute = UA_ATTRIBUTEID_VALUE) {
        const stack_node_id node = parse_node_id(id);
        UA_ReadValueId item{};
        item.nodeId = node.get();
        item.attributeId = attribute;
        UA_ReadRequest request{};
        request.nodesToRead = &item;
        request.nodesToReadSize = 1;
        stack_value<UA_ReadResponse, UA_TYPES_READRESPONSE> response;
        *response.out() = UA_Client_Service_read(client_.get(), request);
        if (response->resultsSize != 1) {
            return response->responseHeader.serviceResult;
        }
        value = variant{response->results[0].value};
        return response->results[0].status;
    }
    UA_StatusCode read(std::string_view id) {
        variant ignored;
        return read(id, ignored);
    }
    /// Reads all values in one request.
    /// @return one status for each; none if the service failed
    std::vector<UA_StatusCode> read_all(const std::vector<std::string>& ids) {
        std::vector<stack_node_id> nodes;
        std::vector<UA_ReadValueId> items(ids.size());
        nodes.reserve(ids.size());
        for (std::size_t index = 0; index < ids.size(); ++index) {
            items[index].nodeId = nodes.emplace_back(parse_node_id(ids[index])).get();
            items[index].attributeId = UA_ATTRIBUTEID_VALUE;
        }
        UA_ReadRequest request{};
        request.nodesToRead = items.data();
        request.nodesToReadSize = items.size();
        stack_value<UA_ReadResponse, UA_TYPES_READRESPONSE> response;
        *response.out() = UA_Client_Service_read(client_.get(), request);
        std::vector<UA_StatusCode> statuses;
        for (std::size_t index = 0; index < response->resultsSize; ++index) {
            statuses.push_back(response->results[index].status);
        }
        return statuses;
    }
    /// The value as type and text, or the status: "Double 72.5", "BadNodeIdUnknown".
    std::string shown(std::string_view id) {
        variant value;
        const UA_StatusCode status = read(id, value);
        return status == UA_STATUSCODE_GOOD ? type_text(value.get()) + " " + value_text(value.get())
                                            : UA_StatusCode_name(status);
    }
    UA_StatusCode write(std::string_view id, const variant& value) {
        return UA_Client_writeValueAttribute(client_.get(), parse_node_id(id).get(), &value.get());
    }

    [[nodiscard]] UA_Client* get() const { return client_.get(); }

  private:
    struct deleter {
        void operator()(UA_Client* client) const noexcept { UA_Client_delete(client); }
    };
    std::unique_ptr<UA_Client, deleter> client_;
};

using monitoring_modules::test_support::comes_true;

} // namespace tarvik::simulator
