#include "exporter/http/access_rules.hpp"

#include "text/words.hpp"
#include <arpa/inet.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view acting_path = "/probe"; // the one that has servers asked
constexpr std::string_view scheme = "Basic ";
constexpr std::string_view open_paths[] = {"/healthz", "/readyz"}; // need no password

/// @return an IP address in its binary form: 4 or 16 bytes
[[nodiscard]] std::optional<std::string> parse_ip(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        return std::nullopt; // would end the text early
    }
    const std::string copy{text};
    for (const auto& [family, size] :
         {std::pair{AF_INET, sizeof(in_addr)}, std::pair{AF_INET6, sizeof(in6_addr)}}) {
        std::string bytes(size, '\0');
        if (inet_pton(family, copy.c_str(), bytes.data()) == 1) {
            return bytes;
        }
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

/// @return user and password as they come in a header
[[nodiscard]] std::string encoded(const http_credentials& wanted) {
    std::string plain = wanted.user + ":" + wanted.password;
    const gnutls_datum_t bytes{
        reinterpret_cast<unsigned char*>(plain.data()), static_cast<unsigned>(plain.size())};
    gnutls_datum_t made{};
    if (gnutls_base64_encode2(&bytes, &made) != GNUTLS_E_SUCCESS) {
        throw std::bad_alloc{};
    }
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner{made.data, gnutls_free};
    return {reinterpret_cast<const char*>(made.data), made.size};
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

/// What makes us work could be asked for by any page that a person looks at, and browsers tell on
/// whose behalf they ask only over TLS and on loopback. But all of them call themselves Mozilla,
/// and a page cannot have them say otherwise without asking us first.
[[nodiscard]] bool may_be_of_other_page(const http_request& request) {
    return request.path == acting_path && !request.header("Sec-Fetch-Site") &&
           request.header("User-Agent").value_or("").starts_with("Mozilla/");
}

} // namespace

access_rules::access_rules(const http_settings& settings, const std::string& bound)
    : names_{settings.allowed_hosts},
      ip_{parse_ip(bound)},
      credentials_{settings.basic_auth ? encoded(*settings.basic_auth) : ""} {
    if (!parse_ip(settings.address)) {
        names_.push_back(settings.address);
    }
    const bool is_wildcard = ip_ && ip_->find_first_not_of('\0') == std::string::npos;
    const bool is_loopback =
        ip_ && (ip_->size() == sizeof(in_addr) ? ip_->front() == 127 : ip_ == parse_ip("::1"));
    if (is_wildcard || is_loopback) {
        names_.emplace_back("localhost");
    }
    if (is_wildcard) {
        ip_.reset();
    }
}

bool access_rules::is_our_name(std::string_view host) const {
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

std::optional<int>
access_rules::refusal(const http_request& request, failed_logins::time_point now) {
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
    if (!is_our_name(*host)) {
        return 421;
    }
    if (is_of_other_page(request, *host) || may_be_of_other_page(request)) {
        return 403;
    }
    return password_refusal(request, now);
}

std::optional<int>
access_rules::password_refusal(const http_request& request, failed_logins::time_point now) {
    if (credentials_.empty() || contains(open_paths, request.path)) {
        return std::nullopt;
    }
    const std::string header = only(request, "Authorization").value_or("");
    if (header.empty()) {
        return 401; // browsers ask without one first
    }
    if (failed_.wait(request.client, now).count() > 0) {
        return 429;
    }
    const std::string given = header.substr(std::min(scheme.size(), header.size()));
    if (same_in_any_case(header.substr(0, scheme.size()), scheme) &&
        given.size() == credentials_.size() && // compared in constant time
        gnutls_memcmp(given.data(), credentials_.data(), given.size()) == 0) {
        return std::nullopt;
    }
    failed_.add(request.client, now);
    return 401;
}

} // namespace tarvik::monitoring_modules::probe
