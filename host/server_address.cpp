#include "host/server_address.hpp"

#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_host = 253;  // characters of a domain name (RFC 1035, 2.3.4)
constexpr std::size_t longest_path = 4096; // bytes of an endpoint's URL (OPC 10000-6, 7.1.2.3)
constexpr std::string_view expected =
    "expected HOST, HOST:PORT, [IPv6]:PORT or opc.tcp://HOST:PORT/PATH";

constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";

[[nodiscard]] bool has_only(std::string_view text, std::string_view some, std::string_view more) {
    return std::ranges::all_of(text, [&](char letter) {
        return contains(digits, letter) || contains(some, letter) || contains(more, letter);
    });
}

[[nodiscard]] bool is_name(std::string_view host) {
    return !host.empty() && host.size() <= longest_host && host.front() != '-' &&
           has_only(host, letters, "_.-");
}

[[nodiscard]] bool is_ipv6(std::string_view host) {
    const std::size_t percent = std::min(host.find('%'), host.size());
    const std::string_view address = host.substr(0, percent);
    const std::string_view zone = host.substr(percent);
    return host.size() <= longest_host && std::ranges::count(address, ':') >= 2 &&
           has_only(address, "abcdefABCDEF", ":.") &&
           (zone.empty() || (zone.size() > 1 && is_name(zone.substr(1))));
}

[[nodiscard]] std::optional<std::uint16_t> port_in(std::string_view text) {
    const auto port = parse_number<std::uint16_t>(text);
    return port && text.front() != '0' ? port : std::nullopt;
}

/// @param text without scheme and path
[[nodiscard]] std::optional<named_server> split_authority(std::string_view text) {
    if (is_ipv6(text)) {
        return named_server{std::string{text}};
    }
    const bool brackets = text.starts_with('[');
    const std::size_t end = brackets ? text.find(']') : std::min(text.find(':'), text.size());
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view host = brackets ? text.substr(1, end - 1) : text.substr(0, end);
    text.remove_prefix(end + (brackets ? 1 : 0));
    if (!(brackets ? is_ipv6(host) : is_name(host))) {
        return std::nullopt;
    }
    if (text.empty()) {
        return named_server{std::string{host}};
    }
    const auto port = text.front() == ':' ? port_in(text.substr(1)) : std::nullopt;
    return port ? std::optional{named_server{std::string{host}, *port}} : std::nullopt;
}

/// @return why this program has no such transport
[[nodiscard]] std::string refused_scheme(const std::string& scheme) {
    constexpr auto transports =
        std::to_array<std::string_view>({"opc.https", "opc.wss", "https", "http"});
    const std::string name = contains(transports, scheme) ? scheme + "://" : "another scheme";
    return name + ": servers are reached by opc.tcp:// only, so " + std::string{expected};
}

[[nodiscard]] bool is_path(std::string_view path) {
    return path.size() <= longest_path && std::ranges::all_of(path, [](char letter) {
               const auto byte = static_cast<unsigned char>(letter);
               return byte > ' ' && byte != '\x7f';
           });
}

} // namespace

parsed_server parse_server(std::string_view text) {
    constexpr std::string_view mark = "://";
    std::size_t slash = text.size();
    if (const std::size_t at = text.find(mark); at != std::string_view::npos) {
        const std::string scheme = lower_case(text.substr(0, at));
        if (scheme != "opc.tcp") {
            return {std::nullopt, refused_scheme(scheme)};
        }
        text.remove_prefix(at + mark.size());
        slash = std::min(text.find('/'), text.size());
    }
    const std::string_view authority = text.substr(0, slash);
    const std::string_view path = text.substr(std::min(slash + 1, text.size()));
    if (contains(authority, '@')) {
        return {std::nullopt, "a user is no part of a server's address; he is named apart from it"};
    }
    std::optional<named_server> server = split_authority(authority);
    if (!server || !is_path(path)) {
        return {std::nullopt, std::string{expected}};
    }
    server->path = path;
    return {std::move(server), ""};
}

std::string host_and_port(const std::string& host, std::uint16_t port) {
    const bool needs_brackets = host.find(':') != std::string::npos && !host.starts_with('[');
    return (needs_brackets ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

} // namespace tarvik::monitoring_modules::probe
