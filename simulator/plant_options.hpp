#pragma once
// What can be chosen about a simulated plant before its server starts: port, users, security,
// limits, log.

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace tarvik::simulator {

/// The security modes whose endpoints are offered; secured ones use policy Basic256Sha256.
struct endpoint_modes {
    bool none = true;
    bool sign = false;
    bool sign_encrypt = false;
};

enum class certificate_issuer { self_signed, test_ca };

/// The server's certificate. It is made only where a secured endpoint or encrypted passwords need
/// it.
struct certificate_options {
    unsigned key_bits = 2048; ///< RSA: 1024, 2048 or 4096; keys are shared within the process
    bool expired = false; ///< was valid from two years ago to yesterday; else for a year from now
    certificate_issuer issuer = certificate_issuer::self_signed;
    bool common_name = true; ///< false: the subject has an organisation only
};

enum class log_level { trace, debug, info, warning, error, fatal };

/// Called in the server's thread and in any thread that calls into the server. Must not throw and
/// must not call back.
using log_sink = std::function<void(log_level, std::string_view category, std::string_view text)>;

struct plant_options {
    std::uint16_t port = 0; ///< 0: any free one. It is kept for the life of the plant once known.
    std::string application_name = "Tarvik plant simulator";
    std::string application_uri = "urn:tarvik:simulator";

    bool anonymous = true; ///< offer the anonymous token
    bool users = false;    ///< offer user names; the only login is user1 with password1
    bool encrypt_passwords =
        false; ///< user-name token with Basic256Sha256, even on the None endpoint
    endpoint_modes endpoints{};
    certificate_options certificate{};
    bool trust_clients = true; ///< false: refuse every client certificate
    std::filesystem::path
        trusted_clients{}; ///< folder with the only ones that are not refused, DER

    bool diagnostics = true;     ///< see plant_server::set_diagnostics
    bool raid_controller = true; ///< false: the industrial PC has none, nor the nodes of one
    bool auto_change = true; ///< values move every 500 ms by themselves; false: only by advance()

    std::chrono::milliseconds security_token_lifetime{600'000}; ///< longest a client gets
    std::chrono::milliseconds session_timeout{3'600'000};       ///< longest a client gets
    std::uint16_t max_sessions = 100;
    std::uint32_t max_nodes_per_read = 0; ///< 0: any number
    std::uint32_t max_message_bytes = 0;  ///< in chunks of 8192 bytes; 0: the stack's own limits

    log_sink log{};                           ///< empty: nothing is logged anywhere
    log_level lowest_level = log_level::info; ///< what is below does not reach the sink
};

} // namespace tarvik::simulator
