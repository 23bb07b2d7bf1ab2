#include "exporter/routes.hpp"

#include "exporter/page_state.hpp"
#include "host/probe_error.hpp"
#include "host/translation.hpp"
#include "text/number.hpp"

#include <algorithm>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_curves = 200; // sensors in one request
constexpr const char* json_type = "application/json";

/// @return the numbers of a list such as "7,8"; others are left out
[[nodiscard]] std::vector<std::int32_t> ids_of(std::string_view text) {
    std::vector<std::int32_t> ids;
    while (!text.empty() && ids.size() < most_curves) {
        const std::size_t end = std::min(text.find(','), text.size());
        if (const auto id = parse_number<std::int32_t>(text.substr(0, end))) {
            ids.push_back(*id);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return ids;
}

[[nodiscard]] bool is_known(std::string_view code) {
    return std::ranges::any_of(module_languages, [code](const auto& language) {
        return language.first == code;
    });
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

http_answer request_routes::answer(const http_request& request) const {
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
        return plain_answer(200, "ok\n");
    }
    if (request.path == "/readyz") {
        return ready();
    }
    if (const page_asset* const asset = find_page_asset(request.path)) {
        return {
            .content_type = std::string{asset->content_type}, .body = std::string{asset->bytes}};
    }
    return plain_answer(404, "not found\n");
}

http_answer request_routes::state(const http_request& request) const {
    const auto since = parse_number<std::uint64_t>(request.parameter("since").value_or("0"));
    const auto document = languages_.find(request.parameter("language").value_or("en"));
    return {
        .content_type = json_type,
        .body = page_state(
            store_.view(since.value_or(0)), *document, std::chrono::system_clock::now()
        )};
}

http_answer request_routes::curves(const http_request& request) const {
    const auto ids = ids_of(request.parameter("sensors").value_or(""));
    return {
        .content_type = json_type,
        .body = page_curves(store_.curves(ids), std::chrono::system_clock::now())};
}

/// Ready means: each sensor has a result, good or bad.
http_answer request_routes::ready() const {
    const snapshot view = store_.view();
    const bool pending = std::ranges::any_of(view.sensors, [](const auto& sensor) {
        return sensor->state == sensor_state::pending;
    });
    return pending ? plain_answer(503, "waiting for the first scans\n")
                   : plain_answer(200, "ready\n");
}

std::shared_ptr<const module_document> language_cache::find(const std::string& code) {
    const std::string known = is_known(code) ? code : "en";
    const std::lock_guard lock{mutex_};
    auto& document = documents_[known];
    if (document == nullptr) {
        try {
            document =
                std::make_shared<const module_document>(module_.information(known != "en"), known);
        } catch (const probe_error&) { // without one, kinds are shown by their names
            document = std::make_shared<const module_document>();
        }
    }
    return document;
}

} // namespace tarvik::monitoring_modules::probe
