#include "exporter/address.hpp"

#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_host = 253;    // characters of a domain name (RFC 1035, 2.3.4)
constexpr std::size_t longest_address = 270; // with brackets and port

struct host_and_port {
    std::string host;
    std::string port; // empty: none
};

[[nodiscard]] bool is_host_character(char byte) noexcept {
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '.' ||
           byte == '-' || byte == '_';
}

[[nodiscard]] bool is_ipv6_character(char byte) noexcept {
    return (byte >= 'a' && byte <= 'f') || (byte >= '0' && byte <= '9') || byte == ':' ||
           byte == '.';
}

/// @param wild whether "*" may stand in the host
[[nodiscard]] std::optional<host_and_port> split(std::string_view text, bool wild) {
    if (text.size() > longest_address) {
        return std::nullopt;
    }
    host_and_port result;
    std::string_view rest;
    if (text.starts_with('[')) {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        result.host = lower_case(text.substr(1, end - 1));
        rest = text.substr(end + 1);
        if (!std::ranges::all_of(result.host, is_ipv6_character)) {
            return std::nullopt;
        }
    } else {
        const std::size_t end = std::min(text.find(':'), text.size());
        result.host = lower_case(text.substr(0, end));
        rest = text.substr(end);
        if (!std::ranges::all_of(result.host, [wild](char byte) {
                return is_host_character(byte) || (wild && byte == '*');
            })) {
            return std::nullopt;
        }
    }
    if (result.host.empty() || result.host.size() > longest_host || result.host.front() == '-' ||
        (!rest.empty() && (rest.front() != ':' || rest.size() == 1))) {
        return std::nullopt;
    }
    result.port = rest.empty() ? "" : std::string{rest.substr(1)};
    return result;
}

[[nodiscard]] std::optional<std::uint16_t> port_of(std::string_view text) {
    if (text.empty()) {
        return default_opcua_port;
    }
    const auto port = parse_number<std::uint16_t>(text);
    return port == 0 ? std::nullopt : port;
}

/// "*" matches any characters but points. The pattern's length bounds the work, as each star only
/// ever moves forward.
[[nodiscard]] bool host_matches(std::string_view pattern, std::string_view host) {
    std::size_t at = 0;
    std::size_t next = 0;
    std::size_t star = std::string_view::npos;
    std::size_t resume = 0;
    while (at < host.size()) {
        if (next < pattern.size() && pattern[next] == '*') {
            star = next++;
            resume = at;
        } else if (next < pattern.size() && pattern[next] == host[at]) {
            ++next;
            ++at;
        } else if (star != std::string_view::npos && host[resume] != '.') {
            next = star + 1;
            at = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', next) == std::string_view::npos;
}

} // namespace

std::string server_address::text() const {
    const std::string shown = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return shown + ":" + std::to_string(port);
}

std::optional<server_address> parse_address(std::string_view text) {
    const auto parts = split(text, false);
    const auto port = parts ? port_of(parts->port) : std::nullopt;
    return port ? std::optional{server_address{parts->host, *port}} : std::nullopt;
}

bool is_target_pattern(std::string_view pattern) {
    const auto parts = split(pattern, true);
    return parts && (parts->port == "*" || port_of(parts->port));
}

bool matches(std::string_view pattern, const server_address& address) {
    const auto parts = split(pattern, true);
    const auto is_ipv6 = [](std::string_view host) {
        return host.find(':') != std::string_view::npos;
    };
    return parts && is_ipv6(parts->host) == is_ipv6(address.host) &&
           host_matches(parts->host, address.host) &&
           (parts->port == "*" || port_of(parts->port) == address.port);
}

} // namespace tarvik::monitoring_modules::probe
