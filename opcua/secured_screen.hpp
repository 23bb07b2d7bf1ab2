#pragma once

// Screens the messages of a signed or encrypted channel in the one moment in which they are plain
// and whole: when the stack has decrypted a chunk and asks its security policy for the signature.

#include "opcua/message_screen.hpp"

#include <open62541/client.h>

namespace tarvik::monitoring_modules::opcua {

/// As long as it lives, what a client verifies in this thread has to pass the screen as well. For
/// the length of one callback of the stack, one at a time in each thread.
class secured_screen {
  public:
    /// @param config of the client, with the policy of its channel; must outlive this object, as
    /// must the screen
    /// @param encrypted whether chunks are, which ends them with padding
    secured_screen(UA_ClientConfig& config, message_screen& screen, bool encrypted) noexcept;
    secured_screen(const secured_screen&) = delete;
    secured_screen& operator=(const secured_screen&) = delete;
    ~secured_screen();

  private:
    using verifier = decltype(UA_SecurityPolicySignatureAlgorithm::verify);

    static UA_StatusCode
    verify(void* channel, const UA_ByteString* chunk, const UA_ByteString* signature) noexcept;

    message_screen& screen_;
    const bool encrypted_;
    verifier* place_ = nullptr; // in the policy; null without one
    verifier stack_verify_ = nullptr;
};

} // namespace tarvik::monitoring_modules::opcua
