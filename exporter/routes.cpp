#include "exporter/routes.hpp"

#include "exporter/metrics_answers.hpp"
#include "exporter/page_answers.hpp"
#include "host/probe_error.hpp"
#include "host/translation.hpp"
#include "text/number.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_curves = 200; // sensors in one request

[[nodiscard]] http_answer metrics(const http_request& request, const answer_sources& from) {
    const std::string accept = request.header("Accept").value_or("");
    return metrics_of_all(from.shown.view(), from.own, from.time.wall(), accept);
}

[[nodiscard]] http_answer probe(const http_request& request, const answer_sources& from) {
    return from.probes.answer(request);
}

[[nodiscard]] http_answer state(const http_request& request, const answer_sources& from) {
    const auto since = parse_number<std::uint64_t>(request.parameter("since").value_or("0"));
    const auto document = from.languages.find(request.parameter("language").value_or("en"));
    return page_state(from.shown.view(since.value_or(0)), from.own, *document, from.time.wall());
}

/// Of a list such as "7,8"; what is no number is left out.
[[nodiscard]] http_answer curves(const http_request& request, const answer_sources& from) {
    std::vector<std::int32_t> ids;
    for (const std::string& text : split_at(',', request.parameter("sensors").value_or(""))) {
        const auto id = parse_number<std::int32_t>(text);
        if (id && ids.size() < most_curves) {
            ids.push_back(*id);
        }
    }
    return page_curves(from.shown.curves(ids), from.time.wall());
}

[[nodiscard]] http_answer health(const http_request& /*request*/, const answer_sources& /*from*/) {
    return plain_answer(200, "ok\n");
}

/// Ready means: each sensor has a result, good or bad.
[[nodiscard]] http_answer readiness(const http_request& /*request*/, const answer_sources& from) {
    const snapshot view = from.shown.view();
    const bool pending = std::ranges::any_of(view.sensors, [](const auto& sensor) {
        return sensor->state == sensor_state::pending;
    });
    return pending ? plain_answer(503, "waiting for the first scans\n")
                   : plain_answer(200, "ready\n");
}

struct route {
    std::string_view path;
    http_answer (*answer)(const http_request&, const answer_sources&);
};

constexpr route routes[] = {
    {"/metrics", metrics},
    {"/probe", probe},
    {"/api/state", state},
    {"/api/curves", curves},
    {"/healthz", health},
    {"/readyz", readiness},
};

} // namespace

http_answer answer_to(const http_request& request, const answer_sources& sources) {
    const auto* const found = std::ranges::find(routes, request.path, &route::path);
    if (found != std::ranges::end(routes)) {
        return found->answer(request, sources);
    }
    if (const page_asset* const asset = find_page_asset(request.path)) {
        return {
            .content_type = std::string{asset->content_type}, .body = std::string{asset->bytes}};
    }
    return plain_answer(404, "not found\n");
}

std::string route_class(const std::string& path) {
    if (std::ranges::find(routes, path, &route::path) != std::ranges::end(routes)) {
        return path;
    }
    return find_page_asset(path) == nullptr ? "other" : "page";
}

std::shared_ptr<const module_document> language_cache::find(const std::string& code) {
    const bool is_known = std::ranges::count(module_languages, code, [](const auto& language) {
                              return language.first;
                          }) > 0;
    const std::string known = is_known ? code : "en";
    const std::lock_guard lock{mutex_};
    auto& document = documents_[known];
    if (document == nullptr) {
        try {
            document = std::make_shared<const module_document>(module_.information(true), known);
        } catch (const probe_error&) { // without one, kinds are shown by their names
            document = std::make_shared<const module_document>();
        }
    }
    return document;
}

} // namespace tarvik::monitoring_modules::probe
