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

    const UA_StatusCode status = client.connect(url, time_out, ua_client::until::channel_open);
    if (status != UA_STATUSCODE_GOOD) {
        ua_get_endpoints_response nothing;
        nothing->responseHeader.serviceResult = status;
        return nothing;
    }
    return client.get_endpoints(url);
}

} // namespace tarvik::monitoring_modules::opcua
