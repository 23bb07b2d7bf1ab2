#pragma once
// The settings of the client's connection, made of what the command line asks for.

#include "opcua/client/client_settings.hpp"
#include "probe/cli_options.hpp"
#include "probe/console.hpp"

#include <cstdint>

namespace tarvik::monitoring_modules::probe {

/// Reads files with secrets, and takes single settings by their keys as scan does, as far as they
/// are about the connection.
/// @param timeout seconds, for connecting and for each request
/// @param terminal gets a warning for each secret in a file that everybody can read
/// @throws probe_error (usage) for settings that are unknown or hold what they may not hold
[[nodiscard]] opcua::client_settings
server_settings(const connection_arguments& arguments, std::uint32_t timeout, console& terminal);

} // namespace tarvik::monitoring_modules::probe
