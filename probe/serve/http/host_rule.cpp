#include "probe/serve/http/host_rule.hpp"

#include "probe/serve/http/ascii_text.hpp"
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

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

} // namespace

std::optional<std::string> parse_ip(std::string_view text) {
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
        return equal_ignoring_case(name, called->name);
    });
}

} // namespace tarvik::monitoring_modules::probe
