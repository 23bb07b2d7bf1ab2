#pragma once
// How to reach a server, as a person gives it and as settings: address, security, user, single
// settings by their keys. Passwords, keys and certificates come from files or the environment,
// because everybody on a machine can read the arguments of a program.

#include "host/secret_file.hpp"
#include "host/server_address.hpp"
#include "host/settings_record.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Where the server is and how to get in. Secrets are named by file only.
struct connection_arguments {
    std::string host;
    std::uint16_t port = default_opcua_port;
    std::string path;
    std::string user; ///< empty: anonymous
    std::string password_file;
    std::string security_mode = "none";
    std::string security_policy; ///< empty: the one that goes with the mode
    std::string client_certificate_file;
    std::string client_key_file;
    std::string client_key_password_file;
    std::string pki;                    ///< folder of certificates; empty: the usual one
    bool any_certificate = false;       ///< every server's certificate is accepted
    bool plain_password = false;        ///< a password may travel without encryption
    std::vector<std::string> raw;       ///< KEY=VALUE, in the order given
    std::vector<std::string> raw_files; ///< KEY=PATH, in the order given
};

/// Takes a host that was typed apart, as parse_server does: a port and a path in it become those of
/// the connection.
/// @param port_given whether the port was named by itself, too
/// @throws probe_error (usage) when the host names no server, or another port or path than was
/// named by itself
void take_host_apart(connection_arguments& connection, bool port_given);

/// @return "waiting for 192.0.2.7:4840"
[[nodiscard]] std::string waiting_for(const connection_arguments& connection);

/// @return "192.0.2.7:4840"; not yet sanitised
[[nodiscard]] std::string address_of(const connection_arguments& connection);

/// Settings of the connection; what was not asked for is left to the module's defaults. Reads the
/// files that the arguments name, else passwords from $OPCUA_PASSWORD and
/// $OPCUA_CLIENT_KEY_PASSWORD. A secret file that everybody may read gets a warning.
/// @param host_key of the setting that holds the server's address
/// @throws probe_error (usage) when a file cannot be read or is larger than 1 MiB
[[nodiscard]] settings connection_settings(
    const connection_arguments& arguments,
    const warning_receiver& warn,
    const char* host_key = host_of_sensor
);

struct given_setting {
    std::string key; ///< as it was typed, perhaps shortened
    std::string text;
    std::string file;         ///< where the text comes from; empty: the command line
    bool open_to_all = false; ///< everybody can read the file
};

/// @return those of --set, then those of --set-file, each in the order given
/// @throws probe_error (usage) without a key, for a secret on the command line, and for a file that
/// cannot be read
[[nodiscard]] std::vector<given_setting> read_given(const connection_arguments& arguments);

/// @throws probe_error (usage), always
[[noreturn]] void refuse_secret(const std::string& key);

/// @return whether the last part of the key is a name that secrets have, with any module
[[nodiscard]] bool names_secret(std::string_view key);

} // namespace tarvik::monitoring_modules::probe
