#pragma once

// Which of a server's endpoints fits a client: the first one, in the server's order, that has the
// wanted security and accepts the user. Every rejection is logged with its reason, so that an
// operator sees what the server offers.

#include "common/liblog/log_interface.hpp"
#include "opcua/ua_value.hpp"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include <open62541/client.h>

namespace tarvik::monitoring_modules::opcua {

/// What the client brings along.
struct endpoint_requirements {
    UA_MessageSecurityMode security_mode; ///< invalid (0): any
    std::string_view security_policy_uri; ///< empty: any
    std::vector<std::string_view> available_policies;
    UA_UserTokenType identity; ///< the kind of identity token that will be shown
};

/// The requirements of a configured client; the texts stay the configuration's.
[[nodiscard]] endpoint_requirements requirements_of(const UA_ClientConfig& config);

/// @param endpoints as the server sent them: nothing about them is trusted.
/// @param log may be null; rejections at debug level, the selection at info level.
/// @return a copy of the first endpoint that fits.
/// @throws exceptions::opcua_matching_endpoint_failed when there is none.
/// @throws std::out_of_range for an endpoint or token whose mode or type is no value of the
/// standard.
[[nodiscard]] ua_endpoint_description find_matching_endpoint(
    std::span<const UA_EndpointDescription> endpoints,
    const endpoint_requirements& requirements,
    liblog::log_interface* log
);

/// An endpoint and the identity token that it asks for, in the server's list.
struct endpoint_choice {
    const UA_EndpointDescription* endpoint;
    const UA_UserTokenPolicy* token;
};

/// What the stack would choose from the list for a session: of the endpoints that fit, the last of
/// the highest security level, and its first token that fits.
/// @param endpoints as above
/// @return pointers into the list; nothing where none fits.
[[nodiscard]] std::optional<endpoint_choice> choose_as_stack(
    std::span<const UA_EndpointDescription> endpoints, const endpoint_requirements& requirements
);

} // namespace tarvik::monitoring_modules::opcua
