#include "probe/address_space/endpoint_reading.hpp"

#include "common/libexception/exception.hpp"
#include "opcua/enum_number.hpp"
#include "probe/address_space/node_names.hpp"

#include <algorithm>
#include <array>
#include <string_view>

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

} // namespace tarvik::monitoring_modules::probe
