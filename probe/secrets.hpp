#pragma once
// Passwords, keys and certificates: they come from files or the environment, because everybody on a
// machine can read the arguments of a program.

#include "probe/cli_options.hpp"
#include "probe/console.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

struct connection_secrets {
    std::string password;
    std::string client_certificate; ///< PEM
    std::string client_key;         ///< PEM
    std::string client_key_password;
};

/// Reads what the arguments name. A secret file that everybody may read gets a warning.
/// @throws probe_error (usage) when a file cannot be read or is larger than 1 MiB
[[nodiscard]] connection_secrets
read_secrets(const connection_arguments& arguments, console& terminal);

} // namespace tarvik::monitoring_modules::probe
