#pragma once

// The two requests that a client sends for nodes, as functions that can be exchanged: tests put in
// front of the stack what no real server sends, such as a response that is one result short.

#include "opcua/ua_value.hpp"

#include <functional>

#include <open62541/client.h>

namespace tarvik::monitoring_modules::opcua {

using ua_write_response = ua_value<UA_WriteResponse, UA_TYPES_WRITERESPONSE>;

struct client_services {
    std::function<ua_read_response(UA_Client*, const UA_ReadRequest&)> read;
    std::function<ua_write_response(UA_Client*, const UA_WriteRequest&)> write;
};

/// The services of the stack: each waits for the response up to the client's time-out.
[[nodiscard]] inline client_services stack_services() {
    return {
        [](UA_Client* client, const UA_ReadRequest& request) {
            return ua_read_response{UA_Client_Service_read(client, request)};
        },
        [](UA_Client* client, const UA_WriteRequest& request) {
            return ua_write_response{UA_Client_Service_write(client, request)};
        },
    };
}

} // namespace tarvik::monitoring_modules::opcua
