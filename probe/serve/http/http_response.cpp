#include "probe/serve/http/http_response.hpp"

#include <algorithm>
#include <new>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

void put(http_headers& headers, const std::string& name, const std::string& value) {
    std::erase_if(headers, [&name](const auto& each) {
        return equal_ignoring_case(each.first, name);
    });
    headers.emplace_back(name, value);
}

void release_body(void* body) {
    const std::unique_ptr<std::string> last_owner{static_cast<std::string*>(body)};
}

} // namespace

http_headers fixed_headers(bool secure) {
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

http_answer refusal(int status) {
    http_answer answer{
        status,
        "text/plain; charset=utf-8",
        std::to_string(status) + " " + MHD_get_reason_phrase_for(static_cast<unsigned>(status)) +
            "\n",
        {{"Connection", "close"}}};
    if (status == 401) {
        answer.headers.emplace_back(
            "WWW-Authenticate", R"(Basic realm="opcua-probe", charset="UTF-8")"
        );
    }
    if (status == 405) {
        answer.headers.emplace_back("Allow", "GET, HEAD");
    }
    return answer;
}

response_owner make_response(http_answer answer, http_headers fixed) {
    for (const auto& [name, value] : answer.headers) {
        put(fixed, name, value);
    }
    put(fixed, "Content-Type", answer.content_type);
    auto body = std::make_unique<std::string>(std::move(answer.body));
    response_owner response{MHD_create_response_from_buffer_with_free_callback_cls(
        body->size(), body->data(), release_body, body.get()
    )};
    if (response == nullptr) {
        throw std::bad_alloc{};
    }
    static_cast<void>(body.release()); // to the response
    for (const auto& [name, value] : fixed) {
        if (MHD_add_response_header(response.get(), name.c_str(), value.c_str()) != MHD_YES) {
            throw std::bad_alloc{};
        }
    }
    return response;
}

} // namespace tarvik::monitoring_modules::probe
