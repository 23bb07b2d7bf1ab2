#pragma once
// With which security a server's sensors are to get in.

#include "opcua/ua_value.hpp"

#include <span>
#include <string>

namespace tarvik::monitoring_modules::probe {

struct mode_request {
    std::string mode;         ///< "none", "sign", "sign_encrypt", or best_security
    bool user = false;        ///< a user name will be shown, else nobody
    bool certificate = false; ///< there is a client certificate to show
};

struct mode_choice {
    std::string mode;             ///< empty: none of the offered ones will do
    bool has_certificate = false; ///< the server shows one where this mode is offered
    std::string problem;          ///< why there is none
    std::string better;           ///< mode that would be safer, but needs a client certificate
};

/// Of the modes that the module has: the safest one, where a client certificate is there to open it
/// with. What a person has chosen is never made weaker.
/// @param endpoints as the server sent them: nothing about them is trusted
[[nodiscard]] mode_choice
choose_mode(std::span<const UA_EndpointDescription> endpoints, const mode_request& request);

} // namespace tarvik::monitoring_modules::probe
