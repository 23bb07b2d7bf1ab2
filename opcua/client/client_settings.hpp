#pragma once

// The value that names one OPC UA connection: where the server is, how the channel is secured, and
// who the user is. Equal settings share one client (see client_cache.hpp).

#include "common/liblog/log_interface.hpp"
#include "opcua/client/connection_settings.hpp"
#include "zunohelper/notifications/request.hpp"
#include "zunohelper/secure_string.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tarvik::monitoring_modules::opcua {

class client_settings {
  public:
    client_settings() = default;

    /// For sensors and checks: host of the common record, then the groups; time-out and application
    /// name keep their defaults.
    /// @throws exceptions::invalid_servername, setting_invalid as the setters.
    explicit client_settings(const settings::connection& connection);

    client_settings(const client_settings&) = default;
    client_settings(client_settings&&) noexcept = default;
    client_settings& operator=(const client_settings&) = default;
    client_settings& operator=(client_settings&&) noexcept = default;
    virtual ~client_settings() = default;

    /// The server path; one leading "/" is dropped.
    /// @throws exceptions::invalid_servername when it contains "//" or a zero byte.
    void set_server_name(const std::string& server_name);

    /// Security and identity. User and password are taken for username_password only, certificate,
    /// key and key password only with a security mode other than none, which drops them otherwise.
    /// @throws setting_invalid for a mode or policy that is none of the enumeration's.
    void set_security(
        const settings::connection_security& security,
        const settings::user_authentication& authentication
    );

    [[nodiscard]] const std::string& server_name() const noexcept { return server_name_; }

    std::string host{};
    std::int64_t port{4840};
    std::uint64_t timeout_s{5}; ///< for connecting and for each request; not part of the identity
    std::string application_name{"TarvikOPCUA"}; ///< not part of the identity
    opcua::security_mode security_mode{opcua::security_mode::none};
    opcua::security_policy security_policy{opcua::security_policy::none};
    opcua::user_auth_mode user_auth_mode{opcua::user_auth_mode::anonymous};
    std::string user{};
    libzunohelper::secure_string password{};
    std::string client_certificate{}; ///< PEM
    std::string client_key{};         ///< PEM
    libzunohelper::secure_string client_key_password{};

    /// Whether both name the same connection: all but time-out and application name.
    friend bool operator==(const client_settings& left, const client_settings& right) noexcept;

  private:
    std::string server_name_{};
};

/// For a notification: host and groups of its settings, the host as
/// "credentials.connection_opcua.host", and the request's time-out.
/// @param log gets a line (error) when that fails; may be null.
/// @throws setting_not_available without a host; the errors of the groups, of the setters and of
/// get_timeout_s.
[[nodiscard]] client_settings create_client_settings(
    const libzunohelper::notifications::request& request, liblog::log_interface* log
);

/// "opc.tcp://" host ":" port "/" server path; the "/" also without a path, and brackets around an
/// IPv6 address that has none.
[[nodiscard]] std::string endpoint_url(const client_settings& settings);

} // namespace tarvik::monitoring_modules::opcua

/// Equal settings have equal hashes: it is made of the same fields as the comparison.
template <>
struct std::hash<tarvik::monitoring_modules::opcua::client_settings> {
    std::size_t operator()(const tarvik::monitoring_modules::opcua::client_settings& settings
    ) const noexcept;
};
