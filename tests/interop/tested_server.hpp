#pragma once

// The servers that the module is tried on: those of other makers, each in a process of its own, and
// the simulated plant, which stands on the same stack as the module.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvik::monitoring_modules::tests {

enum class maker { open62541, node_opcua, asyncua, milo };
inline constexpr std::array makers{
    maker::open62541, maker::node_opcua, maker::asyncua, maker::milo};

[[nodiscard]] std::string name_of(maker value);

/// Secured endpoints have policy Basic256Sha256. The only user is user1 with password1; passwords
/// are encrypted with that policy on unsecured endpoints too, where the server can.
struct server_options {
    bool none = true;
    bool sign = false;
    bool sign_encrypt = false;
    bool anonymous = true;
    bool users = false;
    bool trust_clients = true;   ///< false: refuses all certificates of clients
    bool raid_controller = true; ///< of the industrial PC whose nodes the server has, too
    // Limits; 0: the maker's own.
    std::uint16_t max_sessions = 0;
    std::uint32_t max_nodes_per_read = 0;
    std::uint32_t max_message = 0; ///< bytes, in pieces of 8192

    [[nodiscard]] bool operator==(const server_options&) const = default;
};
/// What most tests use: it stays while there is none or another one beside it.
inline constexpr server_options all_modes{.sign = true, .sign_encrypt = true, .users = true};

/// Nothing is secured, and the industrial PC has no RAID controller.
inline constexpr server_options unsecured{.users = true, .raid_controller = false};
/// A small device: all limits are low.
inline constexpr server_options limited{
    .users = true, .max_sessions = 1, .max_nodes_per_read = 12, .max_message = 16384};

/// What is known of a server's certificate before it is read.
struct certificate_facts {
    const char* common_name;
    int key_bits;
    int valid_days;
};
[[nodiscard]] certificate_facts certificate_of(maker value);

/// All servers have the same nodes with the same values, but for those of types that one of them
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
/// wanted. Of each maker there is one at a time beside the one with all_modes; asking for another
/// ends it.
/// @throws std::exception when it does not start.
[[nodiscard]] tested_server&
running_server(maker made_by, const server_options& options, bool fresh = false);

} // namespace tarvik::monitoring_modules::tests
