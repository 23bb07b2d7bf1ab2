#include "opcua/secured_screen.hpp"

#include "opcua/ua_value.hpp"

#include <utility>

namespace tarvik::monitoring_modules::opcua {

namespace {

// The policy's function learns of the channel's keys, and of nothing that leads to the client.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
[[gnu::tls_model("initial-exec")]] thread_local const secured_screen* current = nullptr;

} // namespace

secured_screen::secured_screen(
    UA_ClientConfig& config, message_screen& screen, bool encrypted
) noexcept
    : screen_{screen},
      encrypted_{encrypted} {
    for (UA_SecurityPolicy& policy :
         elements(config.securityPolicies, config.securityPoliciesSize)) {
        if (view_of(policy.policyUri) == view_of(config.securityPolicyUri)) {
            place_ = &policy.symmetricModule.cryptoModule.signatureAlgorithm.verify;
            stack_verify_ = std::exchange(*place_, verify);
            current = this;
            return;
        }
    }
}

secured_screen::~secured_screen() {
    if (place_ != nullptr) {
        *place_ = stack_verify_;
        current = nullptr;
    }
}

UA_StatusCode secured_screen::verify(
    void* channel, const UA_ByteString* chunk, const UA_ByteString* signature
) noexcept {
    const secured_screen& self = *current;
    const UA_StatusCode status = self.stack_verify_(channel, chunk, signature);
    return status != UA_STATUSCODE_GOOD || self.screen_.pass_chunk(view_of(*chunk), self.encrypted_)
               ? status
               : UA_STATUSCODE_BADDECODINGERROR;
}

} // namespace tarvik::monitoring_modules::opcua
