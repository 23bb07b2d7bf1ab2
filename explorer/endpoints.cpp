#include "explorer/endpoints.hpp"

#include "common/libexception/exception.hpp"
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

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;
using opcua::elements;
using opcua::view_of;
using system_time = std::chrono::system_clock::time_point;

// OPC 10000-4, 7.20 and 7.43.
constexpr std::array mode_names{"Invalid", "None", "Sign", "SignAndEncrypt"};
constexpr std::array token_names{"Anonymous", "UserName", "Certificate", "IssuedToken"};

/// @return the number in decimal when it has no name
template <typename Enum>
[[nodiscard]] std::string name_of(const Enum& value, const std::array<const char*, 4>& names) {
    const std::int32_t number = opcua::number_of(value);
    const auto index = static_cast<std::size_t>(number); // very large for a negative number
    return index < names.size() ? names.at(index) : std::to_string(number);
}

/// @return what of a URI tells it from others of its kind
[[nodiscard]] std::string end_of(const UA_String& uri, char separator) {
    const std::string_view text = view_of(uri);
    return limited(text.substr(text.rfind(separator) + 1));
}

[[nodiscard]] ordered_json token_json(const UA_UserTokenPolicy& token) {
    return {
        {"type", name_of(token.tokenType, token_names)},
        {"policy_id", limited(view_of(token.policyId))},
        {"security_policy", end_of(token.securityPolicyUri, '#')}};
}

[[nodiscard]] ordered_json endpoint_json(const UA_EndpointDescription& endpoint) {
    ordered_json tokens = ordered_json::array();
    for (const UA_UserTokenPolicy& token :
         elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
        tokens.push_back(token_json(token));
    }
    return {
        {"type", "endpoint"},
        {"url", limited(view_of(endpoint.endpointUrl))},
        {"transport", end_of(endpoint.transportProfileUri, '/')},
        {"security_mode", name_of(endpoint.securityMode, mode_names)},
        {"security_policy", end_of(endpoint.securityPolicyUri, '#')},
        {"security_level", endpoint.securityLevel},
        {"user_tokens", std::move(tokens)},
        {"certificate_sha256", nullptr}};
}

/// @return "2026-01-31T12:00:00Z"; empty without a time
[[nodiscard]] std::string time_text(const std::optional<std::chrono::sys_seconds>& time) {
    const std::time_t seconds = time ? time->time_since_epoch().count() : 0;
    std::tm parts{};
    char text[64];
    const bool shown = time && gmtime_r(&seconds, &parts) != nullptr;
    return {text, shown ? std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts) : 0};
}

[[nodiscard]] ordered_json certificate_json(
    std::string_view der, libcertificatehelper::allocator& certificates, system_time now
) {
    try {
        const auto certificate = certificates.create_certificate_from_der(
            {reinterpret_cast<const std::uint8_t*>(der.data()), der.size()}
        );
        const std::vector<std::string> names = certificate->get_common_names();
        const auto not_after = certificate->get_not_after();
        return {
            {"type", "certificate"},
            {"common_name", names.empty() ? "" : limited(names.front())},
            {"issuer", limited(certificate->get_issuer())},
            {"self_signed", certificate->is_self_signed()},
            {"not_before", time_text(certificate->get_not_before())},
            {"not_after", time_text(not_after)},
            {"days_left", certificate->get_days_until_expiry(now)},
            {"expired", not_after && *not_after < now},
            {"key_length", certificate->get_public_key_length()}, // bits
            {"sha1", certificate->get_thumbprint()},
            {"sha256", certificate->get_sha256_thumbprint()}};
    } catch (const libexception::exception& error) {
        return {{"type", "certificate"}, {"problem", error.what()}};
    }
}

constexpr std::size_t url_columns = 80;
constexpr std::size_t word_columns = 40;
constexpr std::size_t text_columns = 200;

/// @return the member, fit for a terminal
[[nodiscard]] std::string
fitted(const ordered_json& of, const char* name, std::size_t columns = text_columns) {
    return fit(text_in(of, name), columns);
}

/// @return "Anonymous, UserName (Basic256Sha256)", each once
[[nodiscard]] std::string tokens_text(const ordered_json& tokens) {
    std::vector<std::string> texts;
    for (const ordered_json& token : tokens) {
        const std::string policy = text_in(token, "security_policy");
        std::string text = text_in(token, "type") + (policy.empty() ? "" : " (" + policy + ")");
        if (!contains(texts, text)) {
            texts.push_back(std::move(text));
        }
    }
    return fit(joined(texts), text_columns);
}

/// @return "2026-01-31 12:00:00"
[[nodiscard]] std::string readable(std::string time) {
    std::ranges::replace(time, 'T', ' ');
    std::erase(time, 'Z');
    return time;
}

[[nodiscard]] cell validity_cell(const ordered_json& certificate, system_time now) {
    const std::string not_before = text_in(certificate, "not_before");
    const std::string not_after = text_in(certificate, "not_after");
    const std::string dates = readable(not_before) + " to " + readable(not_after) + " UTC, ";
    const auto days = certificate.at("days_left").get<std::int32_t>();
    const auto days_text = [](std::int32_t count) {
        return std::to_string(count) + (count == 1 ? " day" : " days");
    };
    if (certificate.at("expired").get<bool>()) {
        return {dates + "EXPIRED " + days_text(-days) + " ago", colour::red};
    }
    if (time_text(std::chrono::floor<std::chrono::seconds>(now)) < not_before) {
        return {dates + "NOT YET VALID", colour::red};
    }
    return {dates + days_text(days) + " left"};
}

[[nodiscard]] std::string
certificate_text(const ordered_json& certificate, system_time now, bool colours) {
    if (certificate.contains("problem")) {
        return "  " + painted(fitted(certificate, "problem"), colour::red, colours) + "\n";
    }
    const bool self_signed = certificate.at("self_signed").get<bool>();
    table rows{{{""}, {""}}};
    const auto add = [&rows](const char* title, cell content) {
        rows.add_row({{title, colour::dim}, std::move(content)});
    };
    add("common name", {fitted(certificate, "common_name")});
    add("issuer", {fitted(certificate, "issuer") + (self_signed ? " (self-signed)" : "")});
    add("valid", validity_cell(certificate, now));
    add("key", {certificate.at("key_length").dump() + " bit"});
    add("SHA-1", {fitted(certificate, "sha1")});
    add("SHA-256", {fitted(certificate, "sha256")});
    const std::string text = rows.render(colours);
    return text.substr(text.find('\n') + 1); // without the line of titles
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
        to.json = endpoint_json(endpoint);
        const std::string_view der = view_of(endpoint.serverCertificate);
        if (der.empty()) {
            continue;
        }
        const auto found = std::ranges::find(known, der);
        to.certificate = static_cast<std::size_t>(found - known.begin());
        if (found == known.end()) {
            known.push_back(der);
            read.certificates.push_back(certificate_json(der, certificates, now));
        }
        to.json["certificate_sha256"] = read.certificates[*to.certificate].value("sha256", "");
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
    for (const auto& [endpoint, certificate] : shown.endpoints) {
        rows.add_row(
            {{fitted(endpoint, "url", url_columns)},
             {fitted(endpoint, "security_mode")},
             {fitted(endpoint, "security_policy", word_columns)},
             {endpoint.at("security_level").dump()},
             {certificate ? std::to_string(*certificate + 1) : ""},
             {tokens_text(endpoint.at("user_tokens"))}}
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

std::string offer_json(const offer& shown) {
    std::string lines;
    for (const offered_endpoint& endpoint : shown.endpoints) {
        lines += json_line(endpoint.json);
    }
    for (const ordered_json& certificate : shown.certificates) {
        lines += json_line(certificate);
    }
    return lines;
}

} // namespace tarvik::monitoring_modules::probe
