#pragma once

// The generated key pair as hosts keep it: the certificate and its private key in PEM, one after
// the other. What comes back may be anything, so it is used only if this client would have made it.

#include "libcertificatehelper/allocator.hpp"
#include "zunohelper/secure_string.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

inline constexpr std::int32_t generated_key_bits = 4096;
inline constexpr const char* generated_country = "C=DE";
inline constexpr const char* generated_organization = "O=TarvikGmbH";
inline constexpr const char* generated_common_name = "CN=OpcUaSensor";
inline constexpr const char* generated_alternative_name = "URI:urn:ostrel.opcua.sensor";

/// Wiped when it is destroyed.
struct generated_key_pair {
    std::string certificate;                  ///< PEM, RSA 4096
    libzunohelper::secure_string private_key; ///< PEM, not encrypted
};

[[nodiscard]] libzunohelper::secure_string
to_kept(std::string_view certificate_pem, std::string_view private_key_pem);

struct read_key_pair {
    std::optional<generated_key_pair> pair;
    std::string problem; ///< why there is no pair; nothing secret in it
};

/// @param kept any bytes.
[[nodiscard]] read_key_pair
from_kept(std::string_view kept, libcertificatehelper::allocator& certificates);

} // namespace tarvik::monitoring_modules::opcua
