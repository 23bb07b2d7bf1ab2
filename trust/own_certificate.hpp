#pragma once
// Makes the certificate by which servers know this program.

#include "trust/certificate.hpp"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What a new certificate is to say.
struct certificate_request {
    std::string uri;         ///< the application URI: exactly one, as servers want it
    std::string common_name; ///< up to 64 characters (X.520, ub-common-name)
    std::vector<std::string> dns_names;
    int days = 1825;
    int bits = 2048; ///< 2048 to 4096: OPC 10000-7, Basic256Sha256
};

/// A private key in PEM; overwritten when this object goes.
class key_text final {
  public:
    explicit key_text(std::string pem) noexcept : pem_{std::move(pem)} {}
    ~key_text();
    key_text(key_text&&) noexcept = default;
    key_text& operator=(key_text&&) = delete;
    key_text(const key_text&) = delete;
    [[nodiscard]] std::string_view view() const noexcept { return pem_; }

  private:
    std::string pem_;
};

struct made_identity {
    certificate own;
    key_text key;
};

/// @return for this machine: "urn:HOST:opcua-probe", "opcua-probe@HOST" and its name
[[nodiscard]] certificate_request default_request();

/// Makes an RSA key and a certificate that it signs itself, with the uses that OPC UA asks of
/// applications (OPC 10000-6, 6.2.2). Takes up to some seconds.
/// @throws probe_error (usage) for a name that cannot stand in a certificate
[[nodiscard]] made_identity make_identity(const certificate_request& request);

/// @param key_pem of the certificate that is to be renewed
/// @return a new certificate for the same key
/// @throws probe_error (usage) also when the key cannot be read or is protected by a pass phrase
[[nodiscard]] made_identity
renew_identity(std::string_view key_pem, const certificate_request& request);

} // namespace tarvik::monitoring_modules::probe
