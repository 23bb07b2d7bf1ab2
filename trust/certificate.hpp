#pragma once
// X.509 certificates and revocation lists, read from files and from servers: nothing about them is
// trusted, and what they say may be any text.

#include "trust/openssl_owners.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// More bytes are no certificate, chain or revocation list of a plant.
inline constexpr std::size_t most_certificate_bytes = 1'048'576;

/// One certificate; copies share it.
class certificate final {
  public:
    explicit certificate(x509_owner from) : x509_{std::move(from)} {}

    [[nodiscard]] X509* get() const noexcept { return x509_.get(); }

    [[nodiscard]] std::string der() const;
    [[nodiscard]] std::string pem() const;

    /// @return SHA-256 of its DER form, 64 lower-case hexadecimal digits
    [[nodiscard]] std::string fingerprint() const;

    /// @return as RFC 4514 writes names: "CN=pump,O=Plant"; UTF-8, with other bytes escaped
    [[nodiscard]] std::string subject() const;
    [[nodiscard]] std::string issuer() const;

    /// @return the first common name; else the subject
    [[nodiscard]] std::string name() const;

    // Alternative names as text. An address is written as inet_ntop does.
    [[nodiscard]] std::vector<std::string> dns_names() const;
    [[nodiscard]] std::vector<std::string> addresses() const;
    [[nodiscard]] std::vector<std::string> uris() const;

    /// @return nothing when the certificate tells no such time
    [[nodiscard]] std::optional<std::chrono::sys_seconds> not_before() const;
    [[nodiscard]] std::optional<std::chrono::sys_seconds> not_after() const;

    /// @return of the public key; 0 when there is none that can be read
    [[nodiscard]] int key_bits() const;

    /// @return whether it names itself as its issuer
    [[nodiscard]] bool is_self_issued() const;

    /// @return whether it may vouch for others: a certificate authority by its basic constraints,
    /// and no application, which many servers' self-signed certificates claim to be both
    [[nodiscard]] bool is_authority() const;

    [[nodiscard]] bool operator==(const certificate& other) const;

  private:
    [[nodiscard]] std::vector<std::string> names_of_type(int type) const;

    std::shared_ptr<X509> x509_;
};

/// One revocation list; copies share it.
class revocation_list final {
  public:
    explicit revocation_list(x509_crl_owner from) : crl_{std::move(from)} {}
    [[nodiscard]] X509_CRL* get() const noexcept { return crl_.get(); }

    /// @return the name of the authority that made it
    [[nodiscard]] std::string issuer() const;

  private:
    std::shared_ptr<X509_CRL> crl_;
};

/// @param bytes PEM with any number of certificates, or DER, one after the other as servers send
/// chains
/// @return in their order; empty unless all of the bytes could be read
[[nodiscard]] std::vector<certificate> read_certificates(std::string_view bytes);
[[nodiscard]] std::vector<revocation_list> read_revocation_lists(std::string_view bytes);

/// @return 64 lower-case digits of what a person gives as a SHA-256 fingerprint, with or without
/// colons and blanks; empty when it is none
[[nodiscard]] std::string parse_fingerprint(std::string_view text);

/// @return "2026-11-22 06:00:00 UTC"; "?" for nothing
[[nodiscard]] std::string time_text(const std::optional<std::chrono::sys_seconds>& time);

/// @return full days between the two, rounded down; negative once expired
[[nodiscard]] std::optional<long>
days_left(const certificate& of, std::chrono::system_clock::time_point now);

/// @return what a person compares before trusting it: names, validity, issuer, fingerprint; a line
/// each, not sanitised
[[nodiscard]] std::string
describe(const certificate& shown, std::chrono::system_clock::time_point now);

} // namespace tarvik::monitoring_modules::probe
