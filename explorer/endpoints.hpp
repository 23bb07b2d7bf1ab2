#pragma once
// What a server offers: its endpoints and their certificates, read, and shown as tables and as
// JSON. Texts are the server's: any bytes.

#include "libcertificatehelper/allocator.hpp"
#include "opcua/ua_value.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A way to log in.
struct user_token {
    std::string policy_id;
    std::string type;            ///< "Anonymous", "UserName", ...; a number when it is none of them
    std::string security_policy; ///< short; empty: that of the channel
};

struct offered_endpoint {
    std::string url;
    std::string transport;       ///< "uatcp-uasc-uabinary"
    std::string security_mode;   ///< "None", "Sign", ...; a number when it is none of them
    std::string security_policy; ///< without what all of them begin with, "Basic256Sha256"
    std::uint8_t security_level = 0;
    std::vector<user_token> user_tokens;
    std::optional<std::size_t> certificate; ///< index in the list; nothing: it has none
};

struct offered_certificate {
    std::string problem{};     ///< why it cannot be read; the rest is empty then
    std::string common_name{}; ///< empty when it has none
    std::string issuer{};
    std::optional<std::chrono::sys_seconds> not_before{};
    std::optional<std::chrono::sys_seconds> not_after{};
    std::int32_t days_left = 0;  ///< negative once expired
    std::int32_t key_length = 0; ///< bits
    bool self_signed = false;
    std::string sha1{};   ///< 40 hexadecimal digits
    std::string sha256{}; ///< 64
    [[nodiscard]] bool expired(std::chrono::system_clock::time_point now) const noexcept {
        return not_after && *not_after < now;
    }
    [[nodiscard]] bool not_yet_valid(std::chrono::system_clock::time_point now) const noexcept {
        return not_before && now < *not_before;
    }
};

struct offer {
    std::vector<offered_endpoint> endpoints;       ///< in the server's order
    std::vector<offered_certificate> certificates; ///< each once, in the order of their first use
};

/// @param endpoints as the server sent them: nothing about them is trusted
/// @param now days are counted from it
[[nodiscard]] offer read_offer(
    std::span<const UA_EndpointDescription> endpoints,
    libcertificatehelper::allocator& certificates,
    std::chrono::system_clock::time_point now
);

/// @return a row for each endpoint, then each certificate with its lines
[[nodiscard]] std::string
offer_text(const offer& shown, std::chrono::system_clock::time_point now, bool colours);

/// @return one JSON object in each line: the endpoints, then the certificates
[[nodiscard]] std::string offer_json(const offer& shown, std::chrono::system_clock::time_point now);

} // namespace tarvik::monitoring_modules::probe
