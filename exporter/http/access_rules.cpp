#include "exporter/http/access_rules.hpp"

#include "host/probe_error.hpp"
#include "text/words.hpp"
#include <arpa/inet.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view scheme = "Basic ";

/// @return an IP address in its binary form: 4 or 16 bytes
[[nodiscard]] std::optional<std::string> parse_ip(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        return std::nullopt; // would end the text early
    }
    const std::string copy{text};
    std::array<char, sizeof(in6_addr)> bytes{};
    if (inet_pton(AF_INET, copy.c_str(), bytes.data()) == 1) {
        return std::string{bytes.data(), sizeof(in_addr)};
    }
    if (inet_pton(AF_INET6, copy.c_str(), bytes.data()) == 1) {
        return std::string{bytes.data(), sizeof(in6_addr)};
    }
    return std::nullopt;
}

struct named_host {
    std::string_view name;
    bool bracketed;
};

/// @return the host without its port; nothing for what is no host
[[nodiscard]] std::optional<named_host> without_port(std::string_view host) {
    const bool bracketed = host.starts_with('[');
    const std::size_t end = bracketed ? host.find(']') : std::min(host.find(':'), host.size());
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view port = host.substr(end + (bracketed ? 1 : 0));
    const bool good_port =
        port.empty() || (port.front() == ':' && port.size() <= 6 &&
                         port.find_first_not_of("0123456789", 1) == std::string_view::npos);
    std::string_view name = host.substr(0, end);
    name.remove_prefix(bracketed ? 1 : 0);
    if (!bracketed && name.ends_with('.')) {
        name.remove_suffix(1); // the root of all names
    }
    return name.empty() || !good_port ? std::nullopt : std::optional{named_host{name, bracketed}};
}

[[nodiscard]] bool is_loopback(const std::string& ip) {
    return ip.size() == 4 ? ip.front() == 127 : ip == parse_ip("::1");
}

[[nodiscard]] bool is_wildcard(const std::string& ip) {
    return ip.find_first_not_of('\0') == std::string::npos;
}

[[nodiscard]] std::string encoded(const std::optional<http_credentials>& wanted) {
    if (!wanted) {
        return "";
    }
    if (wanted->user.find(':') != std::string::npos) {
        throw probe_error{exit_code::usage, "The user of the web page may not have a colon"};
    }
    std::string plain = wanted->user + ":" + wanted->password;
    const gnutls_datum_t bytes{
        reinterpret_cast<unsigned char*>(plain.data()), static_cast<unsigned>(plain.size())};
    gnutls_datum_t made{};
    if (gnutls_base64_encode2(&bytes, &made) != GNUTLS_E_SUCCESS) {
        throw std::bad_alloc{};
    }
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner{made.data, gnutls_free};
    return {reinterpret_cast<const char*>(made.data), made.size};
}

[[nodiscard]] bool equal_in_constant_time(std::string_view given, std::string_view wanted) {
    return given.size() == wanted.size() &&
           gnutls_memcmp(given.data(), wanted.data(), wanted.size()) == 0;
}

/// A name that has other characters than RFC 9110 lets it have, or a line end within a value, can
/// hide a length from one of two readers.
[[nodiscard]] bool has_odd_header(const http_request& request) {
    constexpr std::string_view separators = "\"(),/:;<=>?@[\\]{}";
    constexpr std::string_view ends{"\r\n\0", 3};
    return std::ranges::any_of(request.headers, [&](const auto& header) {
        const auto& [name, value] = header;
        return value.find_first_of(ends) != std::string::npos ||
               std::ranges::any_of(name, [&](char letter) {
                   return letter <= ' ' || letter > '~' ||
                          separators.find(letter) != std::string_view::npos;
               });
    });
}

[[nodiscard]] bool has_body(const http_request& request) {
    return std::ranges::any_of(request.headers, [](const auto& header) {
        return same_in_any_case(header.first, "Transfer-Encoding") ||
               (same_in_any_case(header.first, "Content-Length") && header.second != "0");
    });
}

/// @return the header; nothing unless it is there exactly once
[[nodiscard]] std::optional<std::string> only(const http_request& request, std::string_view name) {
    const auto count = std::ranges::count_if(request.headers, [name](const auto& header) {
        return same_in_any_case(header.first, name);
    });
    return count == 1 ? request.header(name) : std::nullopt;
}

/// Browsers tell on whose behalf they ask (Fetch Metadata); other clients do not. Another page
/// may lead a person here, but it may neither read nor make us work.
[[nodiscard]] bool is_of_other_page(const http_request& request, std::string_view host) {
    const std::string origin = request.header("Origin").value_or("");
    const std::size_t start = origin.find("://");
    const bool own_origin =
        origin.empty() || (start != std::string::npos &&
                           same_in_any_case(std::string_view{origin}.substr(start + 3), host));
    const std::string site = request.header("Sec-Fetch-Site").value_or("none");
    if (own_origin && (site == "none" || site == "same-origin")) {
        return false;
    }
    const bool led_here = request.path == "/" && request.header("Sec-Fetch-Mode") == "navigate" &&
                          request.header("Sec-Fetch-Dest").value_or("document") == "document";
    return !own_origin || !led_here;
}

} // namespace

host_rule::host_rule(
    const std::string& address, const std::string& bound, std::vector<std::string> names
)
    : names_{std::move(names)},
      ip_{parse_ip(bound)} {
    if (!parse_ip(address)) {
        names_.push_back(address);
    }
    const bool wildcard = ip_ && is_wildcard(*ip_);
    if (wildcard || (ip_ && is_loopback(*ip_))) {
        names_.emplace_back("localhost");
    }
    if (wildcard) {
        ip_.reset();
    }
}

bool host_rule::allows(std::string_view host) const {
    const std::optional<named_host> called = without_port(host);
    if (!called) {
        return false;
    }
    const std::optional<std::string> ip = parse_ip(called->name);
    if (called->bracketed != (ip && ip->size() == sizeof(in6_addr))) {
        return false;
    }
    if (ip) {
        return !ip_ || ip == ip_;
    }
    return std::ranges::any_of(names_, [&called](const std::string& name) {
        return same_in_any_case(name, called->name);
    });
}

access_rules::access_rules(const http_settings& settings, const std::string& bound)
    : hosts_{settings.address, bound, settings.allowed_hosts},
      credentials_{encoded(settings.basic_auth)},
      open_paths_{settings.open_paths} {}

std::optional<int> access_rules::refusal(const http_request& request) const {
    if (request.method != "GET" && request.method != "HEAD") {
        return 405;
    }
    if (has_body(request)) {
        return 413;
    }
    const std::optional<std::string> host = only(request, "Host");
    if (!host || !request.path.starts_with('/') || has_odd_header(request)) {
        return 400;
    }
    if (!hosts_.allows(*host)) {
        return 421;
    }
    if (is_of_other_page(request, *host)) {
        return 403;
    }
    return knows_password(request) ? std::nullopt : std::optional{401};
}

bool access_rules::knows_password(const http_request& request) const {
    if (credentials_.empty() || std::ranges::count(open_paths_, request.path) > 0) {
        return true;
    }
    const std::string given = only(request, "Authorization").value_or("");
    return given.size() > scheme.size() &&
           same_in_any_case(std::string_view{given}.substr(0, scheme.size()), scheme) &&
           equal_in_constant_time(std::string_view{given}.substr(scheme.size()), credentials_);
}

} // namespace tarvik::monitoring_modules::probe
