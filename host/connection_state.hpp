#pragma once
// What the identity of an error message tells: how the server is reached, and whose fault the error
// is.

#include <array>
#include <optional>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

enum class connection_state {
    connecting, ///< no result yet
    ready,
    unreachable,
    untrusted_server, ///< this program does not trust it; never by an error's message alone
    no_trust,         ///< the server refused our certificate, or its own is unusable
    bad_credentials,
    no_matching_endpoint, ///< the server offers no endpoint with this security and user
    error                 ///< anything else
};

inline constexpr std::array all_connection_states{
    connection_state::connecting,
    connection_state::ready,
    connection_state::unreachable,
    connection_state::untrusted_server,
    connection_state::no_trust,
    connection_state::bad_credentials,
    connection_state::no_matching_endpoint,
    connection_state::error};

/// @return "no_trust"
[[nodiscard]] std::string_view name_of(connection_state state) noexcept;

/// @param identity of an error message
/// @return nothing when the server answered, and something else is to blame
[[nodiscard]] std::optional<connection_state> connection_fault(std::string_view identity);

/// Whether a server may mean either the user or the offer: only its endpoints tell.
[[nodiscard]] bool is_ambiguous(std::string_view identity);

enum class scan_fault {
    connection, ///< the server cannot be reached, refuses, or does not answer
    settings,   ///< what was asked for does not exist, or is no number: nothing could be judged
    server      ///< everything else
};

/// @param identity of the sensor message; may be a plain text
[[nodiscard]] scan_fault fault_of(std::string_view identity);

} // namespace tarvik::monitoring_modules::probe
