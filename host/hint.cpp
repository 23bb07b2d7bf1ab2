#include "host/hint.hpp"

#include "host/status_name.hpp"
#include "host/translation.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

using texts_of_hint = std::array<const char*, module_languages.size()>;

// NOLINTBEGIN(cppcoreguidelines-macro-usage): a list that is read twice
#define HINT(name, ...) name,
enum class hint : std::uint8_t {
#include "host/hints.inc"
};
#undef HINT

#define HINT(name, ...) texts_of_hint{__VA_ARGS__},
constexpr std::array texts{
#include "host/hints.inc"
};
#undef HINT
// NOLINTEND(cppcoreguidelines-macro-usage)

[[nodiscard]] const char* text_of(hint of, std::string_view language) {
    constexpr std::size_t english = 1;
    static_assert(module_languages[english].first == "en");
    const auto* const found = std::ranges::find_if(module_languages, [language](const auto& each) {
        return same_in_any_case(language, each.first) || same_in_any_case(language, each.second);
    });
    const auto index = static_cast<std::size_t>(found - module_languages.begin());
    return texts.at(static_cast<std::size_t>(of))
        .at(index < module_languages.size() ? index : english);
}

/// A status means one thing while a connection is made, and another for a request over it.
enum class when : std::uint8_t { connecting, requesting, always };

struct rule {
    when matters;
    std::string_view status; ///< how its name begins (OPC 10000-4, 7.39)
    hint says;
};

/// The first one that fits counts.
constexpr auto rules = std::to_array<rule>({
    {when::connecting, "BadConnectionRejected", hint::refused},
    {when::connecting, "BadConnectionClosed", hint::closed},
    {when::connecting, "BadHostUnknown", hint::closed},
    {when::connecting, "BadDisconnect", hint::closed},
    {when::connecting, "BadUserAccessDenied", hint::wrong_login},
    {when::connecting, "BadUserSignatureInvalid", hint::wrong_login},
    {when::connecting, "BadIdentityToken", hint::login_not_taken},
    {when::connecting, "BadSecurityChecksFailed", hint::certificate_refused},
    {when::connecting, "BadCertificate", hint::certificate_refused},
    {when::connecting, "BadApplicationSignatureInvalid", hint::certificate_refused},
    {when::connecting, "BadSecurityPolicyRejected", hint::no_endpoint},
    {when::connecting, "BadSecurityModeRejected", hint::no_endpoint},
    {when::connecting, "BadSecurityModeInsufficient", hint::no_endpoint},
    {when::connecting, "BadTcpEndpointUrlInvalid", hint::no_path},
    {when::connecting, "BadServerUriInvalid", hint::no_path},
    {when::always, "BadTooManySessions", hint::full},
    {when::always, "BadMaxConnectionsReached", hint::full},
    {when::always, "BadTcpServerTooBusy", hint::full},
    {when::always, "BadTcpNotEnoughResources", hint::full},
    {when::always, "BadServerHalted", hint::halted},
    {when::always, "BadShutdown", hint::halted},
    {when::always, "BadTimeout", hint::frozen},
    {when::always, "BadRequestTimeout", hint::frozen},
    {when::requesting, "BadUserAccessDenied", hint::no_right},
    {when::requesting, "BadNotReadable", hint::no_right},
    {when::requesting, "BadNotWritable", hint::no_right},
    {when::requesting, "BadTypeMismatch", hint::other_type},
    {when::requesting, "BadNotConnected", hint::device},
    {when::requesting, "BadNoCommunication", hint::device},
    {when::requesting, "BadDeviceFailure", hint::device},
    {when::requesting, "BadSensorFailure", hint::device},
    {when::requesting, "BadOutOfService", hint::device},
    {when::requesting, "BadWaitingForInitialData", hint::device},
    {when::always, "BadTooManyOperations", hint::too_many},
    {when::always, "BadResponseTooLarge", hint::too_large},
    {when::always, "BadRequestTooLarge", hint::too_large},
    {when::always, "BadTcpMessageTooLarge", hint::too_large},
    {when::always, "BadEncodingLimitsExceeded", hint::too_large},
});

struct failed_call {
    std::string_view key;
    when failed;
};

constexpr auto failed_calls = std::to_array<failed_call>({
    {"error.opcua_connection_failed", when::connecting},
    {"error.opcua_discovery_failed", when::connecting},
    {"error.opcua_request_failed", when::requesting},
    {"error.opcua_read_failed", when::requesting},
    {"error.opcua_write_failed", when::requesting},
});

struct error_hint {
    std::string_view key;
    hint says;
};

constexpr auto by_key = std::to_array<error_hint>({
    {"error.opcua_matching_endpoint_failed", hint::no_endpoint},
    {"error.nodeid_unknown", hint::node_unknown},
    {"error.failed_to_parse_node_id", hint::node_form},
});

[[nodiscard]] std::optional<hint> find_hint(std::string_view identity) {
    const auto parsed = parse_identity(identity);
    const std::string key = parsed ? parsed->key : "";
    if (const auto* const found = std::ranges::find(by_key, key, &error_hint::key);
        found != by_key.end()) {
        return found->says;
    }
    const auto* const call = std::ranges::find(failed_calls, key, &failed_call::key);
    if (call == failed_calls.end()) {
        return std::nullopt;
    }
    const std::string status = status_in(identity);
    const auto* const found = std::ranges::find_if(rules, [&](const rule& each) {
        return (each.matters == when::always || each.matters == call->failed) &&
               status.starts_with(each.status);
    });
    return found == rules.end() ? std::nullopt : std::optional{found->says};
}

} // namespace

std::string hint_for(std::string_view identity, std::string_view language) {
    const std::optional<hint> found = find_hint(identity);
    return found ? text_of(*found, language) : "";
}

std::string labelled_hint(const std::string& text, std::string_view language) {
    return text.empty() ? "" : text_of(hint::label, language) + text;
}

} // namespace tarvik::monitoring_modules::probe
