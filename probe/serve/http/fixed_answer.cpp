#include "probe/serve/http/fixed_answer.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] http_headers make_headers(bool secure) {
    http_headers headers{
        {"Accept-Ranges", "none"},
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
         "'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
         "require-trusted-types-for 'script'"},
        {"Cross-Origin-Embedder-Policy", "require-corp"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Permissions-Policy",
         "camera=(), display-capture=(), geolocation=(), microphone=(), payment=(), usb=()"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "DENY"},
    };
    if (secure) {
        headers.emplace_back("Strict-Transport-Security", "max-age=31536000");
    }
    return headers;
}

[[nodiscard]] std::string_view reason(int status) {
    switch (status) {
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 413:
        return "Content Too Large";
    case 414:
        return "URI Too Long";
    case 421:
        return "Misdirected Request";
    case 431:
        return "Request Header Fields Too Large";
    default:
        return "Internal Server Error";
    }
}

} // namespace

const http_headers& fixed_headers(bool secure) {
    static const http_headers plain = make_headers(false);
    static const http_headers over_tls = make_headers(true);
    return secure ? over_tls : plain;
}

std::string fixed_answer(int status, bool secure, bool head) {
    const std::string title = std::to_string(status) + " " + std::string{reason(status)};
    const std::string body = title + "\n";
    std::string answer = "HTTP/1.1 " + title + "\r\n";
    const auto add = [&answer](std::string_view name, std::string_view value) {
        answer.append(name).append(": ").append(value).append("\r\n");
    };
    for (const auto& [name, value] : fixed_headers(secure)) {
        add(name, value);
    }
    if (status == 401) {
        add("WWW-Authenticate", R"(Basic realm="opcua-probe", charset="UTF-8")");
    }
    if (status == 405) {
        add("Allow", "GET, HEAD");
    }
    add("Connection", "close");
    add("Content-Type", "text/plain; charset=utf-8");
    add("Content-Length", std::to_string(body.size()));
    return answer + "\r\n" + (head ? "" : body);
}

} // namespace tarvik::monitoring_modules::probe
