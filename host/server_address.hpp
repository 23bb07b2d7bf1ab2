#pragma once
// What people write for a server: "plc-7", "plc-7:4841", "[fe80::1]:4840" or the URL of an
// endpoint, "opc.tcp://plc-7:4840/Line1".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// The port of OPC UA over TCP, as IANA lists it.
inline constexpr std::uint16_t default_opcua_port = 4840;

/// A server as it was named: what was left out is empty.
struct named_server {
    std::string host; ///< a name or an IP address as it was typed; IPv6 without brackets
    std::optional<std::uint16_t> port{};
    std::string path{}; ///< without the "/" before it

    bool operator==(const named_server&) const = default;
};

struct parsed_server {
    std::optional<named_server> server;
    std::string problem; ///< empty if there is a server; holds nothing of the text but its scheme
};

/// Takes HOST, HOST:PORT, [IPv6]:PORT, an IPv6 address alone, and all of them behind "opc.tcp://",
/// where a path may follow; without the scheme it may not, because 10.0.0.0/24 is no server. Hosts
/// have letters, digits, ".", "-" and "_", IPv6 addresses perhaps a zone ("%eth0"); ports go from 1
/// to 65535.
/// @return the server, or why the text names none: "expected HOST, HOST:PORT, ..."
[[nodiscard]] parsed_server parse_server(std::string_view text);

/// @return "plc-7:4840", "[::1]:4840"
[[nodiscard]] std::string host_and_port(const std::string& host, std::uint16_t port);

} // namespace tarvik::monitoring_modules::probe
