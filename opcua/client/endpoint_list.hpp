#pragma once

// Fetches the endpoints that a server offers; no session is needed.

#include "opcua/ua_client.hpp"
#include "opcua/ua_value.hpp"

#include <chrono>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Connects over a channel without security, so that the whole list is seen whatever the client is
/// configured for, and asks for the endpoints.
/// @param client not connected; its configuration's endpoint is replaced.
/// @param time_out for connecting; the request has the configuration's own.
/// @return what the server sent; its service result is the stack's status when connecting or the
/// request failed, and only a good one comes with endpoints to look at.
[[nodiscard]] ua_get_endpoints_response
fetch_endpoints(ua_client& client, const std::string& url, std::chrono::milliseconds time_out);

/// The same with an end for both; the configuration's time-out is replaced.
[[nodiscard]] ua_get_endpoints_response fetch_endpoints(
    ua_client& client, const std::string& url, std::chrono::steady_clock::time_point deadline
);

} // namespace tarvik::monitoring_modules::opcua
