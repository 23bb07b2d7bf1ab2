#pragma once
// Addresses of servers, "plc-7.example:4840", and patterns that tell which ones may be asked for.

#include "host/server_address.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

struct server_address {
    std::string host; ///< a name or an IP address, in lower case; IPv6 without brackets
    std::uint16_t port = default_opcua_port;
    std::string path{}; ///< of the URL; empty: none

    /// @return "plc-7.example:4840", "[::1]:4840"
    [[nodiscard]] std::string text() const;

    bool operator==(const server_address&) const = default;
};

/// @param text as parse_server takes it
/// @return nothing for any other text
[[nodiscard]] std::optional<server_address> parse_address(std::string_view text);

/// @param pattern an address in which "*" stands for any part of one label of a name or one number
/// of an IP address, and as port for any port; without a port: the default one. A pattern without
/// letters matches four decimal numbers as they are usually written, and never a name: "10.0.0.*"
/// matches neither "10.0.0.evil" nor "10.0.0.07". Paths are not looked at.
[[nodiscard]] bool matches(std::string_view pattern, const server_address& address);

/// @return whether the text can be such a pattern at all
[[nodiscard]] bool is_target_pattern(std::string_view pattern);

/// @return whether nobody but this machine reaches it
[[nodiscard]] bool is_loopback_address(std::string_view address);

} // namespace tarvik::monitoring_modules::probe
