#include "host/connection_state.hpp"

#include "host/translation.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
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
    const bool unreachable = contains(network, status) || status.starts_with("BadTcp");
    return unreachable ? connection_state::unreachable : connection_state::error;
}

constexpr auto settings_keys = std::to_array<std::string_view>(
    {"certificate_helper.error.certificate_empty",
     "certificate_helper.error.certificate_pem_invalid",
     "certificate_helper.error.could_not_load_private_key",
     "certificate_helper.error.data_encipherment_not_supported",
     "certificate_helper.error.missing_application_uri",
     "certificate_helper.error.private_key_empty",
     "error.conversion_failure",
     "error.data_type_mismatch",
     "error.failed_to_parse_node_id",
     "error.index_out_of_bounds",
     "error.invalid_array_syntax",
     "error.invalid_servername",
     "error.nodeid_unknown",
     "error.not_an_array",
     "error.opcua_matching_endpoint_failed",
     "error.unsupported_attribute_type",
     "error.unsupported_data_type",
     "error.unsupported_identifier_type",
     "error.value_not_scalar",
     "error.value_overflow",
     "libzunohelper.error.setting_invalid",
     "libzunohelper.error.setting_invalid_bigger_max",
     "libzunohelper.error.setting_invalid_less_min",
     "libzunohelper.error.setting_not_available",
     "libzunohelper.error.setting_selection_parse_error",
     "libzunohelper.error.string_too_long"}
);

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
    if (contains(requests, parsed->key)) {
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

scan_fault fault_of(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    if (!parsed) {
        return scan_fault::server;
    }
    const auto connection = connection_fault(identity);
    if (connection && connection != connection_state::no_matching_endpoint) {
        return scan_fault::connection;
    }
    return contains(settings_keys, parsed->key) ? scan_fault::settings : scan_fault::server;
}

} // namespace tarvik::monitoring_modules::probe
