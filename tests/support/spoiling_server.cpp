#include "tests/support/spoiling_server.hpp"

#include "simulator/server_setup.hpp"

#include <chrono>
#include <string_view>
#include <utility>

#include <open62541/server.h>

namespace tarvik::monitoring_modules::test_support {

namespace {

// A server's policies are called in its thread, and tell nothing of the server.
thread_local spoiling_server* current = nullptr;
thread_local decltype(UA_SecurityPolicySignatureAlgorithm::sign) stack_sign = nullptr;

} // namespace

spoiling_server::spoiling_server()
    : options_{
          .application_uri = "urn:spoiling",
          .endpoints = {true, true, true},
          .session_timeout = std::chrono::seconds{10}, // a spoiled session is closed by nobody
          .max_sessions = 10'000},
      identity_{simulator::make_identity(options_.certificate, options_.application_uri, "spoils")},
      logger_{{}, simulator::log_level::fatal} {
    loop_.emplace([this] { return make(); }, [] {});
}

void spoiling_server::spoil(spoiler change) {
    const std::lock_guard lock{mutex_};
    change_ = std::move(change);
}

simulator::server_ptr spoiling_server::make() {
    auto server = make_server(options_, port(), identity_, *logger_.get(), sessions_);
    const UA_ServerConfig& config = *UA_Server_getConfig(server.get());
    current = this;
    for (UA_SecurityPolicy& policy :
         std::span{config.securityPolicies, config.securityPoliciesSize}) {
        auto& by = policy.symmetricModule.cryptoModule.signatureAlgorithm.sign;
        const std::string_view uri{
            reinterpret_cast<const char*>(policy.policyUri.data), policy.policyUri.length};
        if (uri.ends_with("#Basic256Sha256")) {
            stack_sign = std::exchange(by, sign);
        }
    }
    return server;
}

UA_StatusCode spoiling_server::sign(
    void* channel, const UA_ByteString* chunk, UA_ByteString* signature
) noexcept {
    {
        const std::lock_guard lock{current->mutex_};
        if (current->change_) {
            current->change_({chunk->data, chunk->length});
        }
    }
    return stack_sign(channel, chunk, signature);
}

} // namespace tarvik::monitoring_modules::test_support
