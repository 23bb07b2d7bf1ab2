#pragma once

// Asks the host's judge of server certificates (server_trust.h) before a client logs in.
//
// The client's endpoint is chosen here, from a list that is fetched first, and the stack is held to
// it: the certificate and the protection of the password that the judge hears of are those that the
// stack uses, whatever the server says later.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/ua_client.hpp"

#include <chrono>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Whether there is a judge, and something to judge: a secured channel, or a password.
[[nodiscard]] bool is_to_be_judged(const client_settings& settings) noexcept;

/// Asks the judge about the password's way, and has it asked about the channel's certificate when
/// the client connects.
/// @param client configured and not connected; from now on it connects to one endpoint alone.
/// @param url of the server, as the settings name it
/// @param deadline for fetching the endpoints; the judge may take longer.
/// @return Good when the client may connect; otherwise what the judge answered, or why there is
/// nothing to judge: as connecting, and BadIdentityTokenRejected where no endpoint fits.
[[nodiscard]] UA_StatusCode submit_to_judge(
    ua_client& client,
    const std::string& url,
    std::chrono::steady_clock::time_point deadline,
    liblog::log_interface& log
);

} // namespace tarvik::monitoring_modules::opcua
