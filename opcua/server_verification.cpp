#include "opcua/server_verification.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

void server_verification::install(UA_ClientConfig& config, question ask) {
    ask_ = std::move(ask);
    config.certificateVerification.context = this;
    config.certificateVerification.verifyCertificate = verify;
}

UA_StatusCode server_verification::objection(UA_SecureChannelState channel) const noexcept {
    if (!ask_) {
        return UA_STATUSCODE_GOOD;
    }
    if (!answer_ && channel == UA_SECURECHANNELSTATE_OPEN) {
        return UA_STATUSCODE_BADCERTIFICATEINVALID;
    }
    return answer_.value_or(UA_STATUSCODE_GOOD);
}

/// Called when a channel is opened and when it is renewed.
UA_StatusCode server_verification::verify(
    const UA_CertificateVerification* plug_in, const UA_ByteString* certificate
) noexcept {
    auto& self = *static_cast<server_verification*>(plug_in->context);
    if (!self.answer_) {
        try {
            self.answer_ = self.ask_({certificate->data, certificate->length});
        } catch (const std::exception&) { // no exception crosses the stack
            self.answer_ = UA_STATUSCODE_BADOUTOFMEMORY;
        }
    }
    return *self.answer_;
}

} // namespace tarvik::monitoring_modules::opcua
