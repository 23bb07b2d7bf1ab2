#include "opcua/client/endpoint_list.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::opcua {

namespace {

std::chrono::milliseconds time_until(std::chrono::steady_clock::time_point deadline) {
    constexpr std::chrono::milliseconds shortest{1};
    const auto left = deadline - std::chrono::steady_clock::now();
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(left), shortest);
}

UA_StatusCode connect_without_security(
    ua_client& client, const std::string& url, std::chrono::milliseconds time_out
) {
    // With an endpoint given, the stack opens just that channel instead of choosing one by the
    // configured security.
    UA_ClientConfig& config = client.config();
    assign(config.endpoint.endpointUrl, url);
    assign(config.endpoint.securityPolicyUri, "http://opcfoundation.org/UA/SecurityPolicy#None");
    config.endpoint.securityMode = UA_MESSAGESECURITYMODE_NONE;
    return client.connect(url, time_out, ua_client::until::channel_open);
}

ua_get_endpoints_response nothing_but(UA_StatusCode status) {
    ua_get_endpoints_response nothing;
    nothing->responseHeader.serviceResult = status;
    return nothing;
}

} // namespace

ua_get_endpoints_response
fetch_endpoints(ua_client& client, const std::string& url, std::chrono::milliseconds time_out) {
    const UA_StatusCode status = connect_without_security(client, url, time_out);
    return status == UA_STATUSCODE_GOOD ? client.get_endpoints(url) : nothing_but(status);
}

ua_get_endpoints_response fetch_endpoints(
    ua_client& client, const std::string& url, std::chrono::steady_clock::time_point deadline
) {
    const UA_StatusCode status = connect_without_security(client, url, time_until(deadline));
    if (status != UA_STATUSCODE_GOOD) {
        return nothing_but(status);
    }
    client.config().timeout = static_cast<UA_UInt32>(time_until(deadline).count());
    return client.get_endpoints(url);
}

} // namespace tarvik::monitoring_modules::opcua
