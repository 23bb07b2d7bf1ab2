#pragma once

// The live connection of one client: made on demand, checked before every use, dropped after a
// failure. And the fetch of a server's endpoints, which needs no session. Not for sharing between
// threads.

#include "common/liblog/log_interface.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/client/endpoint_selection.hpp"
#include "opcua/client/generated_key_pair.hpp"
#include "opcua/client/unfinished_sessions.hpp"
#include "opcua/ua_client.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Whether a secure channel may have missed its renewal: the stack renews a channel only while it
/// is used, in the last quarter of its lifetime. One that was idle for a quarter of the lifetime or
/// more and is older than 70 % of it is not relied upon.
/// @param age since it was opened; @param idle since it was last used; @param lifetime as the
/// server granted it.
[[nodiscard]] bool may_have_missed_renewal(
    std::chrono::milliseconds age,
    std::chrono::milliseconds idle,
    std::chrono::milliseconds lifetime
) noexcept;

class connection {
  public:
    /// Nothing of this is owned; all of it must outlive the connection.
    /// @param certificates reads the client's own certificate and key.
    /// @param unfinished what this and other connections know of servers that keep sessions.
    connection(
        const client_settings& settings,
        libcertificatehelper::allocator& certificates,
        unfinished_sessions& unfinished,
        liblog::log_interface& log
    );

    /// Whether channel and session are up, as far as is known without asking the server.
    [[nodiscard]] bool is_connected() const noexcept { return client_ && client_->is_connected(); }

    /// Connects unless the connection is up and can be relied upon.
    /// @return the stack's client, owned by the connection; valid until the connection is dropped.
    /// @throws exceptions::opcua_connection_failed, opcua_request_failed
    UA_Client* ensure();

    /// Notes that a request has just succeeded.
    void used() noexcept { last_used_ = clock::now(); }

    /// Ends the connection: the next use starts clean.
    void drop() noexcept { client_.reset(); }

    /// The first of the server's endpoints that fits. Asked over a connection of its own without
    /// security, so that the whole list is seen whatever the settings are; the session is left
    /// alone.
    /// @throws exceptions::opcua_discovery_failed with the status code in decimal when they cannot
    /// be fetched.
    /// @throws as find_matching_endpoint
    [[nodiscard]] ua_endpoint_description find_endpoint();

  private:
    using clock = std::chrono::steady_clock;

    [[nodiscard]] bool can_be_relied_upon() const noexcept;
    [[nodiscard]] std::unique_ptr<ua_client> open_session(bool probing);
    [[nodiscard]] UA_StatusCode connect(ua_client& client) const;

    const client_settings& settings_;
    libcertificatehelper::allocator& certificates_;
    unfinished_sessions& unfinished_;
    liblog::log_interface& log_;
    const std::string url_;
    std::optional<generated_key_pair> own_pair_; // empty until needed, then kept for life
    std::unique_ptr<ua_client> client_;          // absent before the first use and after a failure
    clock::time_point connected_at_{};
    clock::time_point last_used_{};
};

} // namespace tarvik::monitoring_modules::opcua
