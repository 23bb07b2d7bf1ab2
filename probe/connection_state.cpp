#include "probe/connection_state.hpp"

#include "probe/message_identity.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// What the module calls the errors that come of the connection.
constexpr std::string_view connection_failed = "error.opcua_connection_failed";
constexpr std::string_view connection_closed = "error.opcua_connection_closed";
// These can fail because of what was asked for, or because the connection broke meanwhile.
constexpr std::array requests{
    std::string_view{"error.opcua_request_failed"},
    std::string_view{"error.opcua_read_failed"},
    std::string_view{"error.opcua_write_failed"}};
constexpr std::string_view discovery_failed = "error.opcua_discovery_failed";
constexpr std::string_view matching_endpoint_failed = "error.opcua_matching_endpoint_failed";

constexpr std::string_view rejected_token = "BadIdentityTokenRejected";

/// Status codes of the stack by what they say about a connection (OPC UA Part 4, 7.39).
[[nodiscard]] connection_state by_status(std::string_view status) {
    if (status == "BadUserAccessDenied" || status.starts_with("BadIdentityToken") ||
        status == "BadUserSignatureInvalid") {
        return connection_state::bad_credentials;
    }
    if (status.starts_with("BadCertificate") || status == "BadSecurityChecksFailed" ||
        status == "BadApplicationSignatureInvalid" || status == "BadNonceInvalid") {
        return connection_state::no_trust;
    }
    if (status == "BadSecurityPolicyRejected" || status == "BadSecurityModeRejected" ||
        status == "BadSecurityModeInsufficient") {
        return connection_state::no_matching_endpoint;
    }
    constexpr std::array network{
        std::string_view{"BadTimeout"},
        std::string_view{"BadShutdown"},
        std::string_view{"BadServerHalted"},
        std::string_view{"BadDisconnect"},
        std::string_view{"BadNotConnected"},
        std::string_view{"BadSessionClosed"},
        std::string_view{"BadSessionIdInvalid"},
        std::string_view{"BadSecureChannelIdInvalid"},
        std::string_view{"BadServerNotConnected"},
        std::string_view{"BadConnectionClosed"},
        std::string_view{"BadConnectionRejected"},
        std::string_view{"BadNoCommunication"},
        std::string_view{"BadRequestTimeout"},
        std::string_view{"BadSecureChannelClosed"},
        std::string_view{"BadCommunicationError"}};
    const bool unreachable =
        std::ranges::find(network, status) != network.end() || status.starts_with("BadTcp");
    return unreachable ? connection_state::unreachable : connection_state::error;
}

} // namespace

std::string_view name_of(connection_state state) noexcept {
    switch (state) {
    case connection_state::connecting:
        return "connecting";
    case connection_state::ready:
        return "ready";
    case connection_state::unreachable:
        return "unreachable";
    case connection_state::no_trust:
        return "no_trust";
    case connection_state::bad_credentials:
        return "bad_credentials";
    case connection_state::no_matching_endpoint:
        return "no_matching_endpoint";
    case connection_state::error:
        break;
    }
    return "error";
}

std::optional<connection_state> connection_fault(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    if (!parsed) {
        return std::nullopt;
    }
    if (parsed->key == connection_failed) {
        return by_status(parsed->arguments.front());
    }
    if (std::ranges::find(requests, parsed->key) != requests.end()) {
        const connection_state state = by_status(parsed->arguments.front());
        return state == connection_state::unreachable ? std::optional{state} : std::nullopt;
    }
    if (parsed->key == connection_closed || parsed->key == discovery_failed) {
        return connection_state::unreachable;
    }
    if (parsed->key == matching_endpoint_failed) {
        return connection_state::no_matching_endpoint;
    }
    return std::nullopt;
}

bool is_ambiguous(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    return parsed && parsed->key == connection_failed &&
           parsed->arguments.front() == rejected_token;
}

} // namespace tarvik::monitoring_modules::probe
