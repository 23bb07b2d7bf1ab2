#include "probe/serve/server_routes.hpp"

#include "probe/serve/page_assets.hpp"
#include "probe/serve/page_state.hpp"

#include <algorithm>
#include <charconv>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_curves = 200; // sensors in one request
constexpr const char* json_type = "application/json";
constexpr const char* plain_type = "text/plain; charset=utf-8";

template <typename Number>
[[nodiscard]] std::optional<Number> number_of(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole ? std::optional{number} : std::nullopt;
}

/// @return the numbers of a list such as "7,8"; others are left out
[[nodiscard]] std::vector<std::int32_t> ids_of(std::string_view text) {
    std::vector<std::int32_t> ids;
    while (!text.empty() && ids.size() < most_curves) {
        const std::size_t end = std::min(text.find(','), text.size());
        if (const auto id = number_of<std::int32_t>(text.substr(0, end))) {
            ids.push_back(*id);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return ids;
}

[[nodiscard]] http_answer plain(int status, const char* text) {
    return {.status = status, .content_type = plain_type, .body = text};
}

} // namespace

std::string route_class(const std::string& path) {
    for (const char* own :
         {"/metrics", "/probe", "/api/state", "/api/curves", "/healthz", "/readyz"}) {
        if (path == own) {
            return path;
        }
    }
    return find_page_asset(path) == nullptr ? "other" : "page";
}

http_answer server_routes::answer(const http_request& request) const {
    if (request.path == "/metrics") {
        return metrics_.all(request.header("Accept").value_or(""));
    }
    if (request.path == "/probe") {
        return probes_.answer(request);
    }
    if (request.path == "/api/state") {
        return state(request);
    }
    if (request.path == "/api/curves") {
        return curves(request);
    }
    if (request.path == "/healthz") {
        return plain(200, "ok\n");
    }
    if (request.path == "/readyz") {
        return ready();
    }
    if (const page_asset* const asset = find_page_asset(request.path)) {
        return {
            .content_type = std::string{asset->content_type}, .body = std::string{asset->bytes}};
    }
    return plain(404, "not found\n");
}

http_answer server_routes::state(const http_request& request) const {
    const auto since = number_of<std::uint64_t>(request.parameter("since").value_or("0"));
    const auto document = languages_.find(request.parameter("language").value_or("en"));
    return {
        .content_type = json_type,
        .body = page_state(
            board_.view(since.value_or(0)), *document, std::chrono::system_clock::now()
        )};
}

http_answer server_routes::curves(const http_request& request) const {
    const auto ids = ids_of(request.parameter("sensors").value_or(""));
    return {
        .content_type = json_type,
        .body = page_curves(board_.curves(ids), std::chrono::system_clock::now())};
}

/// Ready means: each sensor has a result, good or bad.
http_answer server_routes::ready() const {
    const board_view view = board_.view();
    const bool pending = std::ranges::any_of(view.sensors, [](const auto& sensor) {
        return sensor->state == sensor_state::pending;
    });
    return pending ? plain(503, "waiting for the first scans\n") : plain(200, "ready\n");
}

} // namespace tarvik::monitoring_modules::probe
