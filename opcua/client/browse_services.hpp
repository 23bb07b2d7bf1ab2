#pragma once

// The requests that look around in a server's address space, as functions that can be exchanged:
// tests put in front of the stack what no real server sends.

#include "opcua/ua_value.hpp"

#include <functional>

#include <open62541/client.h>
#include <open62541/nodeids.h>

namespace tarvik::monitoring_modules::opcua {

using ua_browse_response = ua_value<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE>;
using ua_browse_next_response = ua_value<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE>;

/// Each waits for the response up to the client's time-out; a request that failed as a whole has a
/// bad service result and no results.
struct browse_services {
    std::function<ua_browse_response(const UA_BrowseRequest&)> browse;
    std::function<ua_browse_next_response(const UA_BrowseNextRequest&)> browse_next;
    std::function<ua_read_response(const UA_ReadRequest&)> read;
};

/// The services of the stack.
/// @param client connected; not owned, must outlive the functions.
[[nodiscard]] inline browse_services stack_browse_services(UA_Client* client) {
    return {
        [client](const UA_BrowseRequest& request) {
            return ua_browse_response{UA_Client_Service_browse(client, request)};
        },
        [client](const UA_BrowseNextRequest& request) {
            return ua_browse_next_response{UA_Client_Service_browseNext(client, request)};
        },
        [client](const UA_ReadRequest& request) {
            return ua_read_response{UA_Client_Service_read(client, request)};
        },
    };
}

} // namespace tarvik::monitoring_modules::opcua
