#pragma once
// The settings that the module gets, made of what the command line asks for.

#include "probe/channel_argument.hpp"
#include "probe/cli_options.hpp"
#include "probe/secrets.hpp"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Dotted keys and their texts.
using settings = std::map<std::string, std::string>;

// Where the address of the server stands.
inline constexpr const char* host_of_sensor = "host"; // and of checks
inline constexpr const char* host_of_notification = "credentials.connection_opcua.host";

/// Settings of the connection; what was not asked for is left to the module's defaults.
[[nodiscard]] settings connection_settings(
    const connection_arguments& arguments,
    const connection_secrets& secrets,
    const char* host_key = host_of_sensor
);

/// Adds those of a custom sensor.
/// @param channels at most 10
void add_channels(
    settings& to, const std::vector<channel_argument>& channels, const std::string& message_node
);

/// Adds those of a notification.
void add_notification(settings& to, const notify_options& options);

/// @return whether a client with these settings takes the module's generated key pair: every one
/// without channel security does
[[nodiscard]] bool takes_generated_key_pair(const settings& values);

/// @param record as record() makes it
[[nodiscard]] bool takes_generated_key_pair(std::string_view record);

/// @return the JSON record
/// @throws probe_error (usage) when a text is no UTF-8; its message names the key
[[nodiscard]] std::string record(std::string_view kind, const settings& values);

} // namespace tarvik::monitoring_modules::probe
