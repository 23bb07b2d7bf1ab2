// Requests as the HTTP library hands them over, up to the answer that goes back to it. Lines:
// method, path, the client's address, then "?name=value" for parameters and "name: value" for
// headers.

#include "exporter/http/access_rules.hpp"
#include "exporter/http/http_response.hpp"
#include "tests/fuzz/doors.hpp"
#include "tests/fuzz/web_site.hpp"

#include <array>
#include <chrono>

namespace tarvik::monitoring_modules::fuzz {

namespace {

probe::http_settings settings_of(bool with_password) {
    probe::http_settings settings;
    settings.allowed_hosts = {"plant.example"};
    if (with_password) {
        settings.basic_auth = {"user", "password"};
    }
    return settings;
}

probe::http_request read_request(std::string_view input) {
    input_parts lines{input};
    probe::http_request request;
    request.method = lines.until('\n');
    request.path = lines.until('\n');
    request.client = lines.until('\n');
    while (!lines.empty()) {
        const std::string_view line = lines.until('\n');
        input_parts parts{line};
        if (line.starts_with('?')) {
            const std::string name{parts.until('=').substr(1)};
            request.parameters.emplace(name, parts.rest());
        } else {
            const std::string name{parts.until(':')};
            const std::string_view value = parts.rest();
            request.headers.emplace_back(name, value.substr(value.starts_with(' ') ? 1 : 0));
        }
    }
    return request;
}

} // namespace

void http_requests(std::string_view input) {
    static web_site site;
    static std::array rules{
        probe::access_rules{settings_of(false), "127.0.0.1"},
        probe::access_rules{settings_of(true), "::"}};
    const probe::http_request request = read_request(input);
    const auto now = std::chrono::steady_clock::now();
    const auto refused = rules[0].refusal(request, now);
    const auto refused_without_password = rules[1].refusal(request, now);
    require(
        !request.path.starts_with("/metrics") || request.header("Authorization") ||
            refused_without_password,
        "a password is asked for"
    );
    probe::http_answer answer = refused ? probe::refusal(*refused) : site.answer(request);
    require(answer.status >= 200 && answer.status < 600, "an answer has a status");
    probe::compress(answer, request.header("Accept-Encoding").value_or(""));
    site.note(request.path, answer.status);
    require(
        probe::make_response(std::move(answer), probe::fixed_headers(false)) != nullptr,
        "there is always an answer"
    );
}

} // namespace tarvik::monitoring_modules::fuzz
