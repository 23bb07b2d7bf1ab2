#include "host/connection_state.hpp"

#include "host/translation.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view connection_failed = "error.opcua_connection_failed";

/// What status codes of the stack say about a connection, by how their names begin (OPC UA Part 4,
/// 7.39).
constexpr auto states = std::to_array<std::pair<std::string_view, connection_state>>(
    {{"BadUserAccessDenied", connection_state::bad_credentials},
     {"BadIdentityToken", connection_state::bad_credentials},
     {"BadUserSignatureInvalid", connection_state::bad_credentials},
     {"BadCertificate", connection_state::no_trust},
     {"BadSecurityChecksFailed", connection_state::no_trust},
     {"BadApplicationSignatureInvalid", connection_state::no_trust},
     {"BadNonceInvalid", connection_state::no_trust},
     {"BadSecurityPolicyRejected", connection_state::no_matching_endpoint},
     {"BadSecurityModeRejected", connection_state::no_matching_endpoint},
     {"BadSecurityModeInsufficient", connection_state::no_matching_endpoint},
     {"BadTcp", connection_state::unreachable},
     {"BadTimeout", connection_state::unreachable},
     {"BadShutdown", connection_state::unreachable},
     {"BadServerHalted", connection_state::unreachable},
     {"BadDisconnect", connection_state::unreachable},
     {"BadNotConnected", connection_state::unreachable},
     {"BadSessionClosed", connection_state::unreachable},
     {"BadSessionIdInvalid", connection_state::unreachable},
     {"BadSecureChannelIdInvalid", connection_state::unreachable},
     {"BadServerNotConnected", connection_state::unreachable},
     {"BadConnectionClosed", connection_state::unreachable},
     {"BadConnectionRejected", connection_state::unreachable},
     {"BadNoCommunication", connection_state::unreachable},
     {"BadRequestTimeout", connection_state::unreachable},
     {"BadSecureChannelClosed", connection_state::unreachable},
     {"BadCommunicationError", connection_state::unreachable}}
);

[[nodiscard]] connection_state by_status(std::string_view status) {
    const auto* const found = std::ranges::find_if(states, [status](const auto& each) {
        return status.starts_with(each.first);
    });
    return found == states.end() ? connection_state::error : found->second;
}

/// Requests can fail because of what was asked for, or because the connection broke meanwhile.
[[nodiscard]] bool is_request(std::string_view key) {
    return key == "error.opcua_request_failed" || key == "error.opcua_read_failed" ||
           key == "error.opcua_write_failed";
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
    constexpr auto names = std::to_array<std::string_view>(
        {"connecting",
         "ready",
         "unreachable",
         "untrusted_server",
         "no_trust",
         "bad_credentials",
         "no_matching_endpoint",
         "error"}
    );
    return names.at(static_cast<std::size_t>(state));
}

std::optional<connection_state> connection_fault(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    if (!parsed) {
        return std::nullopt;
    }
    const std::string& key = parsed->key;
    if (key == "error.opcua_connection_closed" || key == "error.opcua_discovery_failed") {
        return connection_state::unreachable;
    }
    if (key == "error.opcua_matching_endpoint_failed") {
        return connection_state::no_matching_endpoint;
    }
    const connection_state state = by_status(parsed->arguments.front());
    const bool broke = is_request(key) && state == connection_state::unreachable;
    return key == connection_failed || broke ? std::optional{state} : std::nullopt;
}

bool is_ambiguous(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    return parsed && parsed->key == connection_failed &&
           parsed->arguments.front() == "BadIdentityTokenRejected";
}

scan_fault fault_of(std::string_view identity) {
    const auto connection = connection_fault(identity);
    if (connection && connection != connection_state::no_matching_endpoint) {
        return scan_fault::connection;
    }
    const auto parsed = parse_identity(identity);
    return parsed && contains(settings_keys, parsed->key) ? scan_fault::settings
                                                          : scan_fault::server;
}

} // namespace tarvik::monitoring_modules::probe
