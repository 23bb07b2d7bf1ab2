#pragma once
// The settings that the module gets as a record, made of what was asked for: channels,
// notification. Those of the connection are in connection_arguments.hpp.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

constexpr std::size_t most_channels = 10;

struct channel_argument {
    std::string name; ///< empty: the server's name for the node
    std::string node_id;
    std::string unit;
    std::string scale; ///< empty: not given
};

/// @param text what stands before the first "=" of a channel
/// @return whether it is taken for the beginning of a node id, and so cannot be a channel's name:
/// ns, nsu, svr, i, s, g, b, or a quote (array form)
[[nodiscard]] bool begins_node_id(std::string_view text) noexcept;

/// What stands before the first "=" is a name, unless it begins a node id.
/// @throws probe_error (usage) when the name or the node id is empty, and where a name was meant
/// that begins a node id: "b=ns=2;s=Boiler"
[[nodiscard]] channel_argument parse_channel(const std::string& argument);

/// @param units and scale factors, as N=text with N the number of a channel
/// @throws probe_error (usage) for more than 10 channels, wrong numbers or a channel that gets two
[[nodiscard]] std::vector<channel_argument> parse_channels(
    const std::vector<std::string>& channels,
    const std::vector<std::string>& units,
    const std::vector<std::string>& scales
);

/// Dotted keys and their texts.
using settings = std::map<std::string, std::string>;

/// Keys of the settings of a connection, as all sensors, checks and notifications have them.
namespace keys {
inline constexpr const char* host_of_sensor = "host"; // and of checks
inline constexpr const char* host_of_notification = "credentials.connection_opcua.host";
inline constexpr const char* port = "credentials.connection_opcua.port";
inline constexpr const char* path = "credentials.connection_opcua.server_name";
inline constexpr const char* security_mode = "credentials.connection_security.security_mode";
inline constexpr const char* security_policy = "credentials.connection_security.security_policy";
inline constexpr const char* certificate = "credentials.connection_security.client_certificate";
inline constexpr const char* key = "credentials.connection_security.client_key";
inline constexpr const char* key_password = "credentials.connection_security.client_key_password";
inline constexpr const char* user_mode = "credentials.user_authentication.user_auth_mode";
inline constexpr const char* user = "credentials.user_authentication.user";
inline constexpr const char* password = "credentials.user_authentication.password";

/// Those of a sensor's connection.
inline constexpr std::array of_connection{
    host_of_sensor,
    port,
    path,
    security_mode,
    security_policy,
    certificate,
    key,
    key_password,
    user_mode,
    user,
    password};
} // namespace keys

// Where the address of the server stands.
using keys::host_of_notification;
using keys::host_of_sensor;

/// Adds the settings of a custom sensor.
/// @param channels at most 10
void add_channels(
    settings& to, const std::vector<channel_argument>& channels, const std::string& message_node
);

/// @return the channels that a custom sensor has by its settings, by number; without a name: the
/// server names it
[[nodiscard]] std::map<std::int64_t, std::string> custom_channels(const settings& values);

/// @return whether a custom sensor's message comes from a node
[[nodiscard]] bool has_message_node(const settings& values);

/// A value that is to be written into a node.
struct notification {
    std::string target;                   ///< node id
    std::string type;                     ///< as the module calls it
    std::string message;                  ///< the value as text; may be empty
    std::optional<std::uint32_t> timeout; ///< seconds
};

/// Adds those of a notification.
/// @param log_level of the lines that the module collects; nothing: all
void add_notification(
    settings& to, const notification& content, const std::optional<std::int32_t>& log_level
);

/// @return whether a client with these settings takes the module's generated key pair: every one
/// without channel security does
[[nodiscard]] bool takes_generated_key_pair(const settings& values);

/// @param record as record() makes it
[[nodiscard]] bool takes_generated_key_pair(std::string_view record);

/// @return the JSON record
/// @throws probe_error (usage) when a text is no UTF-8; its message names the key
[[nodiscard]] std::string record(std::string_view kind, const settings& values);

} // namespace tarvik::monitoring_modules::probe
