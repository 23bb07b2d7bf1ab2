#include "explorer/endpoints.hpp"

#include "common/libexception/exception.hpp"
#include "explorer/found_node.hpp"
#include "host/json.hpp"
#include "opcua/enum_number.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using opcua::elements;
using opcua::view_of;
using system_time = std::chrono::system_clock::time_point;

// OPC 10000-4, 7.20 and 7.43.
constexpr std::array<const char*, 4> mode_names{"Invalid", "None", "Sign", "SignAndEncrypt"};
constexpr std::array<const char*, 4> token_names{
    "Anonymous", "UserName", "Certificate", "IssuedToken"};

template <typename Enum, std::size_t Size>
[[nodiscard]] std::string name_of(const Enum& value, const std::array<const char*, Size>& names) {
    const std::int32_t number = opcua::number_of(value);
    return number >= 0 && static_cast<std::size_t>(number) < Size
               ? names.at(static_cast<std::size_t>(number))
               : std::to_string(number);
}

/// @return what of a URI tells it from others of its kind
[[nodiscard]] std::string end_of(const UA_String& uri, char separator) {
    const std::string_view text = view_of(uri);
    return limited(text.substr(text.rfind(separator) + 1));
}

[[nodiscard]] user_token read_token(const UA_UserTokenPolicy& token) {
    return {
        limited(view_of(token.policyId)),
        name_of(token.tokenType, token_names),
        end_of(token.securityPolicyUri, '#')};
}

[[nodiscard]] std::string common_name(const libcertificatehelper::certificate_interface& from) {
    const std::vector<std::string> names = from.get_common_names();
    return names.empty() ? "" : limited(names.front());
}

[[nodiscard]] offered_certificate read_certificate(
    std::string_view der, libcertificatehelper::allocator& certificates, system_time now
) {
    try {
        const auto certificate = certificates.create_certificate_from_der(
            {reinterpret_cast<const std::uint8_t*>(der.data()), der.size()}
        );
        return {
            .common_name = common_name(*certificate),
            .issuer = limited(certificate->get_issuer()),
            .not_before = certificate->get_not_before(),
            .not_after = certificate->get_not_after(),
            .days_left = certificate->get_days_until_expiry(now),
            .key_length = certificate->get_public_key_length(),
            .self_signed = certificate->is_self_signed(),
            .sha1 = certificate->get_thumbprint(),
            .sha256 = certificate->get_sha256_thumbprint()};
    } catch (const libexception::exception& error) {
        return {.problem = error.what()};
    }
}

using nlohmann::ordered_json;
using system_time = std::chrono::system_clock::time_point;

constexpr std::size_t url_columns = 80;
constexpr std::size_t word_columns = 40;
constexpr std::size_t text_columns = 200;

/// @param form of strftime
[[nodiscard]] std::string
time_text(const std::optional<std::chrono::sys_seconds>& time, const char* form) {
    if (!time) {
        return "";
    }
    const std::time_t seconds = time->time_since_epoch().count();
    std::tm parts{};
    char text[64];
    const std::size_t size =
        gmtime_r(&seconds, &parts) == nullptr ? 0 : std::strftime(text, sizeof text, form, &parts);
    return {text, size};
}

/// @return "Anonymous, UserName (Basic256Sha256)", each once
[[nodiscard]] std::string tokens_text(const std::vector<user_token>& tokens) {
    std::vector<std::string> texts;
    for (const user_token& token : tokens) {
        const std::string& policy = token.security_policy;
        std::string text = token.type + (policy.empty() ? "" : " (" + policy + ")");
        if (std::ranges::find(texts, text) == texts.end()) {
            texts.push_back(std::move(text));
        }
    }
    return fit(joined(texts), text_columns);
}

[[nodiscard]] std::string days_text(std::int32_t days) {
    return std::to_string(days) + (days == 1 ? " day" : " days");
}

[[nodiscard]] cell validity_cell(const offered_certificate& shown, system_time now) {
    constexpr const char* form = "%Y-%m-%d %H:%M:%S";
    const std::string text =
        time_text(shown.not_before, form) + " to " + time_text(shown.not_after, form) + " UTC, ";
    if (shown.expired(now)) {
        return {text + "EXPIRED " + days_text(-shown.days_left) + " ago", colour::red};
    }
    if (shown.not_yet_valid(now)) {
        return {text + "NOT YET VALID", colour::red};
    }
    return {text + days_text(shown.days_left) + " left"};
}

[[nodiscard]] std::string
certificate_text(const offered_certificate& shown, system_time now, bool colours) {
    if (!shown.problem.empty()) {
        return "  " + painted(fit(shown.problem, text_columns), colour::red, colours) + "\n";
    }
    table rows{{{""}, {""}}};
    const auto add = [&rows](const char* title, cell content) {
        rows.add_row({{title, colour::dim}, std::move(content)});
    };
    add("common name", {fit(shown.common_name, text_columns)});
    add("issuer", {fit(shown.issuer, text_columns) + (shown.self_signed ? " (self-signed)" : "")});
    add("valid", validity_cell(shown, now));
    add("key", {std::to_string(shown.key_length) + " bit"});
    add("SHA-1", {shown.sha1});
    add("SHA-256", {shown.sha256});
    const std::string text = rows.render(colours);
    return text.substr(text.find('\n') + 1); // without the line of titles
}

[[nodiscard]] ordered_json endpoint_json(const offered_endpoint& endpoint, const offer& of) {
    ordered_json tokens = ordered_json::array();
    for (const user_token& token : endpoint.user_tokens) {
        tokens.push_back(
            {{"type", token.type},
             {"policy_id", token.policy_id},
             {"security_policy", token.security_policy}}
        );
    }
    return {
        {"type", "endpoint"},
        {"url", endpoint.url},
        {"transport", endpoint.transport},
        {"security_mode", endpoint.security_mode},
        {"security_policy", endpoint.security_policy},
        {"security_level", endpoint.security_level},
        {"user_tokens", std::move(tokens)},
        {"certificate_sha256",
         endpoint.certificate ? ordered_json(of.certificates.at(*endpoint.certificate).sha256)
                              : ordered_json{}}};
}

[[nodiscard]] ordered_json certificate_json(const offered_certificate& shown, system_time now) {
    if (!shown.problem.empty()) {
        return {{"type", "certificate"}, {"problem", shown.problem}};
    }
    constexpr const char* form = "%Y-%m-%dT%H:%M:%SZ";
    return {
        {"type", "certificate"},
        {"common_name", shown.common_name},
        {"issuer", shown.issuer},
        {"self_signed", shown.self_signed},
        {"not_before", time_text(shown.not_before, form)},
        {"not_after", time_text(shown.not_after, form)},
        {"days_left", shown.days_left},
        {"expired", shown.expired(now)},
        {"key_length", shown.key_length},
        {"sha1", shown.sha1},
        {"sha256", shown.sha256}};
}

} // namespace

offer read_offer(
    std::span<const UA_EndpointDescription> endpoints,
    libcertificatehelper::allocator& certificates,
    system_time now
) {
    offer read;
    std::vector<std::string_view> known; // certificates
    for (const UA_EndpointDescription& endpoint : endpoints) {
        offered_endpoint& to = read.endpoints.emplace_back();
        to.url = limited(view_of(endpoint.endpointUrl));
        to.transport = end_of(endpoint.transportProfileUri, '/');
        to.security_mode = name_of(endpoint.securityMode, mode_names);
        to.security_policy = end_of(endpoint.securityPolicyUri, '#');
        to.security_level = endpoint.securityLevel;
        for (const UA_UserTokenPolicy& token :
             elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
            to.user_tokens.push_back(read_token(token));
        }
        const std::string_view der = view_of(endpoint.serverCertificate);
        if (der.empty()) {
            continue;
        }
        const auto found = std::ranges::find(known, der);
        to.certificate = static_cast<std::size_t>(found - known.begin());
        if (found == known.end()) {
            known.push_back(der);
            read.certificates.push_back(read_certificate(der, certificates, now));
        }
    }
    return read;
}

std::string offer_text(const offer& shown, system_time now, bool colours) {
    table rows{
        {{"url", alignment::left, 0},
         {"mode"},
         {"policy"},
         {"level", alignment::right},
         {"certificate", alignment::right},
         {"users"}}};
    for (const offered_endpoint& endpoint : shown.endpoints) {
        rows.add_row(
            {{fit(endpoint.url, url_columns)},
             {endpoint.security_mode},
             {fit(endpoint.security_policy, word_columns)},
             {std::to_string(endpoint.security_level)},
             {endpoint.certificate ? std::to_string(*endpoint.certificate + 1) : ""},
             {tokens_text(endpoint.user_tokens)}}
        );
    }
    std::string text =
        shown.endpoints.empty() ? "The server offers no endpoints.\n" : rows.render(colours);
    for (std::size_t i = 0; i < shown.certificates.size(); ++i) {
        text += "\nCertificate " + std::to_string(i + 1) + "\n" +
                certificate_text(shown.certificates[i], now, colours);
    }
    return text;
}

std::string offer_json(const offer& shown, system_time now) {
    std::string lines;
    for (const offered_endpoint& endpoint : shown.endpoints) {
        lines += json_line(endpoint_json(endpoint, shown));
    }
    for (const offered_certificate& certificate : shown.certificates) {
        lines += json_line(certificate_json(certificate, now));
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
