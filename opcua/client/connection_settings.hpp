#pragma once

// The three groups of settings that every sensor, check and notification has: where the server is,
// how the channel is secured, and who logs in. All fields are read whatever the modes say; what a
// mode does not need is ignored later.

#include "zunohelper/common_settings.hpp"
#include "zunohelper/secure_string.hpp"
#include "zunohelper/settings_reader.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

enum class security_mode : std::int32_t { none = 0, sign = 1, sign_encrypt = 2 };
enum class security_policy : std::int32_t { none = 0, basic256sha256 = 1 };
enum class user_auth_mode : std::int32_t { anonymous = 0, username_password = 1 };

namespace settings {

/// Group "connection_opcua".
struct connection_opcua {
    std::int64_t port = 4840;  ///< 1 to 65535; 4840 is the port registered for opc.tcp
    std::string server_name{}; ///< the server path, as entered
};

/// Group "connection_security".
struct connection_security {
    opcua::security_mode security_mode = opcua::security_mode::none;
    opcua::security_policy security_policy = opcua::security_policy::none;
    std::string client_certificate{}; ///< PEM
    std::string client_key{};         ///< PEM, encrypted with the password
    libzunohelper::secure_string client_key_password{};
};

/// Group "user_authentication".
struct user_authentication {
    opcua::user_auth_mode user_auth_mode = opcua::user_auth_mode::anonymous;
    std::string user{};
    libzunohelper::secure_string password{};
};

/// The common record and the three groups: what every settings record begins with.
struct connection {
    libzunohelper::common_settings common;
    settings::connection_opcua opcua;
    settings::connection_security security;
    settings::user_authentication authentication;
};

/// The prefix of the three groups' keys: "credentials.connection_opcua.port".
inline constexpr std::string_view credentials_prefix = "credentials";

/// @name Reading one group
/// @param prefix what stands before the group's name in the keys
/// @throws setting_selection_parse_error for an unknown text of a selection, with the text and the
/// setting's name.
/// @throws setting_invalid, setting_invalid_less_min, setting_invalid_bigger_max for the port.
/// @{
[[nodiscard]] connection_opcua
parse_connection_opcua(const libzunohelper::settings_reader& reader, std::string_view prefix);
[[nodiscard]] connection_security
parse_connection_security(const libzunohelper::settings_reader& reader, std::string_view prefix);
[[nodiscard]] user_authentication
parse_user_authentication(const libzunohelper::settings_reader& reader, std::string_view prefix);
/// @}

/// Reads the common record, then the three groups in the order above.
/// @throws setting_not_available without a host; otherwise as the groups.
[[nodiscard]] connection parse_connection(const libzunohelper::settings_reader& reader);

/// The settings of a kind that has none but these.
/// @tparam Kind the kind's settings record, derived from this.
template <typename Kind>
struct connection_only {
    settings::connection connection;

    /// @throws the errors of parse_connection.
    [[nodiscard]] static Kind parse(const libzunohelper::settings_reader& reader) {
        return Kind{{parse_connection(reader)}};
    }
};

/// @name Texts of selections, exact and case-sensitive
/// @throws setting_selection_parse_error with the text and the setting's name.
/// @{
[[nodiscard]] opcua::security_mode parse_security_mode(std::string_view text);
[[nodiscard]] opcua::security_policy parse_security_policy(std::string_view text);
[[nodiscard]] opcua::user_auth_mode parse_user_auth_mode(std::string_view text);
/// @}

} // namespace settings

} // namespace tarvik::monitoring_modules::opcua
