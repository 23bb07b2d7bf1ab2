#include "probe/serve/http/access_rules.hpp"

#include "host/probe_error.hpp"
#include "probe/serve/http/ascii_text.hpp"

#include <httplib.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view scheme = "Basic ";

[[nodiscard]] std::string encoded(const std::optional<http_credentials>& wanted) {
    if (!wanted) {
        return "";
    }
    if (wanted->user.find(':') != std::string::npos) {
        throw probe_error{exit_code::usage, "The user of the web page may not have a colon"};
    }
    return httplib::make_basic_authentication_header(wanted->user, wanted->password)
        .second.substr(scheme.size());
}

/// Takes a time that depends on the given text only. The wanted one is not empty.
[[nodiscard]] bool equal_in_constant_time(std::string_view given, std::string_view wanted) {
    volatile unsigned difference = given.size() == wanted.size() ? 0 : 1;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const auto bits = static_cast<unsigned char>(given[i] ^ wanted[i % wanted.size()]);
        difference = difference | bits;
    }
    return difference == 0;
}

/// A name that has other characters than RFC 9110 lets it have can hide a length from us.
[[nodiscard]] bool has_odd_name(const http_request& request) {
    return std::ranges::any_of(request.headers, [](const auto& header) {
        return std::ranges::any_of(header.first, [](char letter) {
            return letter <= ' ' || letter > '~' ||
                   std::string_view{"\"(),/:;<=>?@[\\]{}"}.find(letter) != std::string_view::npos;
        });
    });
}

[[nodiscard]] bool has_body(const http_request& request) {
    return std::ranges::any_of(request.headers, [](const auto& header) {
        return equal_ignoring_case(header.first, "Transfer-Encoding") ||
               (equal_ignoring_case(header.first, "Content-Length") && header.second != "0");
    });
}

/// @return the header; nothing unless it is there exactly once
[[nodiscard]] std::optional<std::string> only(const http_request& request, std::string_view name) {
    const auto count = std::ranges::count_if(request.headers, [name](const auto& header) {
        return equal_ignoring_case(header.first, name);
    });
    return count == 1 ? request.header(name) : std::nullopt;
}

/// Browsers say on whose behalf they ask (Fetch Metadata); other clients say nothing. Another page
/// may lead a person here, but it may neither read nor make us work.
[[nodiscard]] bool is_of_other_page(const http_request& request, std::string_view host) {
    const std::string origin = request.header("Origin").value_or("");
    const std::size_t start = origin.find("://");
    const bool own_origin =
        origin.empty() || (start != std::string::npos &&
                           equal_ignoring_case(std::string_view{origin}.substr(start + 3), host));
    const std::string site = request.header("Sec-Fetch-Site").value_or("none");
    if (own_origin && (site == "none" || site == "same-origin")) {
        return false;
    }
    const bool led_here = request.path == "/" && request.header("Sec-Fetch-Mode") == "navigate" &&
                          request.header("Sec-Fetch-Dest").value_or("document") == "document";
    return !own_origin || !led_here;
}

} // namespace

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
    if (!host || !request.path.starts_with('/') || has_odd_name(request)) {
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
           equal_ignoring_case(std::string_view{given}.substr(0, scheme.size()), scheme) &&
           equal_in_constant_time(std::string_view{given}.substr(scheme.size()), credentials_);
}

} // namespace tarvik::monitoring_modules::probe
