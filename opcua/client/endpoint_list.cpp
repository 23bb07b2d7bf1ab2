#include "opcua/client/endpoint_list.hpp"

namespace tarvik::monitoring_modules::opcua {

ua_get_endpoints_response
fetch_endpoints(ua_client& client, const std::string& url, std::chrono::milliseconds time_out) {
    // With an endpoint given, the stack opens just that channel instead of choosing one by the
    // configured security.
    UA_ClientConfig& config = client.config();
    assign(config.endpoint.endpointUrl, url);
    assign(config.endpoint.securityPolicyUri, "http://opcfoundation.org/UA/SecurityPolicy#None");
    config.endpoint.securityMode = UA_MESSAGESECURITYMODE_NONE;

    ua_get_endpoints_response response;
    const UA_StatusCode status = client.connect(url, time_out, ua_client::until::channel_open);
    if (status != UA_STATUSCODE_GOOD) {
        response->responseHeader.serviceResult = status;
        return response;
    }
    UA_GetEndpointsRequest request{};
    request.endpointUrl = borrowed(url);
    __UA_Client_Service(
        client.get(),
        &request,
        &UA_TYPES[UA_TYPES_GETENDPOINTSREQUEST],
        response.out(),
        ua_get_endpoints_response::type()
    );
    return response;
}

} // namespace tarvik::monitoring_modules::opcua
