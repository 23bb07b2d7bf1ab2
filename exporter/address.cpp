#include "exporter/address.hpp"

#include "text/number.hpp"
#include "text/words.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <regex>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_host = 253;    // characters of a domain name (RFC 1035, 2.3.4)
constexpr std::size_t longest_address = 270; // with brackets and port

struct pattern_parts {
    std::string host;
    std::string port; // empty: none
    bool is_ipv6;
};

/// @return the parts of a pattern; nothing when it is none
[[nodiscard]] std::optional<pattern_parts> split(std::string_view text) {
    static const std::regex form{
        R"((?:\[([0-9a-f:.]+)\]|([0-9a-z_.*][0-9a-z_.*-]*))(?::([0-9]+|\*))?)"};
    const std::string lower = lower_case(text.substr(0, longest_address + 1));
    std::smatch parts;
    if (lower.size() > longest_address || !std::regex_match(lower, parts, form)) {
        return std::nullopt;
    }
    const bool is_ipv6 = parts[1].matched;
    pattern_parts result{parts[is_ipv6 ? 1 : 2], parts[3], is_ipv6};
    return result.host.size() > longest_host ? std::nullopt : std::optional{result};
}

[[nodiscard]] std::optional<std::uint16_t> port_of(std::string_view text) {
    if (text.empty()) {
        return default_opcua_port;
    }
    const auto port = parse_number<std::uint16_t>(text);
    return port == 0 || text.front() == '0' ? std::nullopt : port;
}

/// @return whether the host can be no name: digits, points and stars alone
[[nodiscard]] bool is_numeric(std::string_view host) {
    return host.find_first_not_of("0123456789.*") == std::string_view::npos;
}

/// @return whether there are four numbers from 0 to 255 without zeros before them
[[nodiscard]] bool is_ipv4(std::string_view host) {
    const auto parts = split_at('.', host);
    return parts.size() == 4 && std::ranges::all_of(parts, [](const std::string& part) {
               const auto number = parse_number<std::uint8_t>(part);
               return number && (part.size() == 1 || part.front() != '0');
           });
}

/// "*" matches any characters but points.
[[nodiscard]] bool host_matches(std::string pattern, std::string host) {
    std::ranges::replace(pattern, '.', '/');
    std::ranges::replace(host, '.', '/');
    return fnmatch(pattern.c_str(), host.c_str(), FNM_PATHNAME | FNM_NOESCAPE) == 0;
}

} // namespace

std::string server_address::text() const {
    return host_and_port(host, port);
}

std::optional<server_address> parse_address(std::string_view text) {
    const std::optional<named_server> named = parse_server(text).server;
    return named ? std::optional{server_address{
                       lower_case(named->host),
                       named->port.value_or(default_opcua_port),
                       named->path}}
                 : std::nullopt;
}

bool is_target_pattern(std::string_view pattern) {
    const auto parts = split(pattern);
    return parts && (parts->port == "*" || port_of(parts->port)) &&
           (parts->is_ipv6 || !is_numeric(parts->host) || std::ranges::count(parts->host, '.') == 3
           );
}

bool matches(std::string_view pattern, const server_address& address) {
    const auto parts = split(pattern);
    return parts && parts->is_ipv6 == (address.host.find(':') != std::string::npos) &&
           host_matches(parts->host, address.host) &&
           (parts->is_ipv6 || !is_numeric(parts->host) || is_ipv4(address.host)) &&
           (parts->port == "*" || port_of(parts->port) == address.port);
}

bool is_loopback_address(std::string_view address) {
    return (is_ipv4(address) && address.starts_with("127.")) || address == "::1" ||
           address == "localhost";
}

} // namespace tarvik::monitoring_modules::probe
