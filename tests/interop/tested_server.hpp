#pragma once

// The servers that the module is tried on: node-opcua in a process of its own, and the simulated
// plant, which stands on the same stack as the module.

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::tests {

enum class maker { open62541, node_opcua };

[[nodiscard]] inline std::string name_of(maker value) {
    return value == maker::open62541 ? "open62541" : "node_opcua";
}

/// Secured endpoints have policy Basic256Sha256. The only user is user1 with password1; passwords
/// are encrypted with that policy on unsecured endpoints too.
struct server_options {
    bool none = true;
    bool sign = false;
    bool sign_encrypt = false;
    bool anonymous = true;
    bool users = false;
    bool trust_clients = true;   ///< false: refuses all certificates of clients
    bool diagnostics = true;     ///< the server's EnabledFlag
    bool raid_controller = true; ///< of the industrial PC whose nodes the server has, too
    unsigned key_bits = 2048;

    [[nodiscard]] bool operator==(const server_options&) const = default;
};
inline constexpr server_options all_modes{.sign = true, .sign_encrypt = true, .users = true};

/// Both servers have the same nodes with the same values, but for those of types that one of them
/// cannot hold.
class tested_server {
  public:
    tested_server() = default;
    tested_server(const tested_server&) = delete;
    tested_server& operator=(const tested_server&) = delete;
    virtual ~tested_server() = default;

    [[nodiscard]] virtual std::uint16_t port() const = 0;
    /// Id of a node by its name, such as "Boiler.Temperature".
    [[nodiscard]] virtual std::string node_id(const std::string& name) const = 0;
    /// SHA-1 digest of its certificate, in lower-case hexadecimal digits, by another way than the
    /// module's.
    [[nodiscard]] virtual std::string thumbprint() = 0;

    virtual void stop() = 0;
    /// Starts again after stop(), on the same port. No effect while running.
    virtual void start() = 0;
    /// Ends all sessions, and leaves their connections open.
    virtual void close_sessions() = 0;
    /// All sessions that take a place, those included that nobody has logged in to.
    [[nodiscard]] virtual std::size_t session_count() = 0;
    /// Sets EnabledFlag, by the server's own hand.
    virtual void set_diagnostics(bool enabled) = 0;
    /// What a node of group Write holds, as the server itself sees it; texts in double quotes.
    [[nodiscard]] virtual std::string value_of(const std::string& name) = 0;
};

/// A running server with these options, from an earlier call with the same unless a fresh one is
/// wanted. There is one of each maker at a time; asking for another ends it.
/// @throws std::exception when it does not start.
[[nodiscard]] tested_server&
running_server(maker made_by, const server_options& options, bool fresh = false);

} // namespace tarvik::monitoring_modules::tests
