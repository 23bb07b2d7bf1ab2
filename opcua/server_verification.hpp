#pragma once

// Has somebody asked about the certificate with which a server secures its channel, before anything
// but the opening of the channel is sent over it. A stack client otherwise takes every certificate.

#include <functional>
#include <optional>
#include <span>

#include <open62541/client.h>

namespace tarvik::monitoring_modules::opcua {

/// For one client and one connect; the client's thread only. The stack keeps the address of this
/// object, so it must outlive the client.
class server_verification {
  public:
    /// @param certificate in DER as the server sent it, with the issuers that it sent; any bytes.
    /// @return Good, or the status that ends the connect.
    using question = std::function<UA_StatusCode(std::span<const UA_Byte> certificate)>;

    server_verification() = default;
    server_verification(const server_verification&) = delete;
    server_verification& operator=(const server_verification&) = delete;
    ~server_verification() = default;

    /// To be called at most once.
    /// @pre config.endpoint is set, with security: the stack sees to it that every channel is
    /// opened with the key of that endpoint's certificate, so one answer is enough.
    void install(UA_ClientConfig& config, question ask);

    /// Why the connect must end; Good as long as it need not. A server that opens its channel
    /// without showing a certificate, which the stack lets pass, is BadCertificateInvalid.
    [[nodiscard]] UA_StatusCode objection(UA_SecureChannelState channel) const noexcept;

  private:
    static UA_StatusCode
    verify(const UA_CertificateVerification* plug_in, const UA_ByteString* certificate) noexcept;

    question ask_;
    std::optional<UA_StatusCode> answer_;
};

} // namespace tarvik::monitoring_modules::opcua
