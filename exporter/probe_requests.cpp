#include "exporter/probe_requests.hpp"

#include "exporter/metrics_answers.hpp"
#include "exporter/target_path.hpp"
#include "host/hint.hpp"
#include "host/log.hpp"
#include "host/status_name.hpp"
#include "host/translation.hpp"
#include "text/number.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;
using seconds = std::chrono::duration<double>;

constexpr seconds usual_time_out{10};
constexpr seconds longest_time_out{60};
constexpr std::chrono::milliseconds look_for_stop{200};
constexpr seconds way_back{0.5}; // so much of a time-out is left for the answer's way back

/// @return how long the answer may take
[[nodiscard]] clock::duration time_for(const http_request& request) {
    const std::string text = request.header("X-Prometheus-Scrape-Timeout-Seconds").value_or("");
    const auto given = parse_number<double>(text);
    const bool usable = given && std::isfinite(*given) && *given > 0;
    const seconds whole = usable ? std::min(seconds{*given}, longest_time_out) : usual_time_out;
    return std::chrono::duration_cast<clock::duration>(whole - std::min(way_back, whole / 4));
}

/// @param outcome null: there was none in time
[[nodiscard]] http_answer with_log(const http_answer& metrics, scan_outcome* outcome) {
    std::string text = "# What the scan logged\n";
    if (outcome == nullptr) {
        text += "(no result in time)\n";
    } else {
        for (const log_line& line : lines_of(outcome->notes.lines.take())) {
            text += sanitise(to_text(line)) + "\n";
        }
        const sensor_snapshot& shown = *outcome->shown;
        const std::string hint =
            shown.hint.empty() ? hint_for(shown.identity, default_language) : shown.hint;
        text += "\n# Result\n" + sanitise(with_status_names(shown.text)) + "\n";
        text += sanitise(hint) + (hint.empty() ? "" : "\n");
        for (const channel_view& channel : shown.channels) {
            if (const std::string reason = reason_of(channel); !reason.empty()) {
                text += sanitise(channel.name + ": " + reason) + "\n";
            }
        }
    }
    return plain_answer(200, text + "\n# Metrics\n" + metrics.body);
}

/// @return nothing when time is over, or we are stopping
[[nodiscard]] std::optional<scan_outcome> wait_for(
    std::future<scan_outcome>& answer, clock::time_point deadline, const std::atomic<bool>& stopping
) {
    while (!stopping) {
        const clock::time_point next = std::min(deadline, clock::now() + look_for_stop);
        if (answer.wait_until(next) == std::future_status::ready) {
            return answer.get();
        }
        if (clock::now() >= deadline) {
            break;
        }
    }
    return std::nullopt;
}

} // namespace

void probe_requests::use(std::shared_ptr<const serve_config> config) {
    const std::lock_guard lock{mutex_};
    config_ = std::move(config);
}

http_answer probe_requests::answer(const http_request& request) {
    std::shared_ptr<const serve_config> config;
    {
        const std::lock_guard lock{mutex_};
        config = config_;
    }
    const auto target = request.parameter("target");
    const auto name = request.parameter("module");
    if (!target || !name) {
        return plain_answer(400, "/probe?target=HOST:PORT&module=NAME\n");
    }
    const auto found = config->modules.find(*name);
    if (found == config->modules.end()) {
        return plain_answer(404, "there is no such module\n");
    }
    const auto server = parse_address(*target);
    if (!server) {
        return plain_answer(400, "target: " + parse_server(*target).problem + "\n");
    }
    const scan_module& module = found->second;
    if (std::ranges::none_of(module.targets, [&server](const std::string& pattern) {
            return matches(pattern, *server);
        })) {
        return plain_answer(403, "the module's targets do not include this one\n");
    }
    if (!has_path_of(module, *server)) {
        return plain_answer(403, "the target's path is not that of the module's settings\n");
    }
    return scan(request, make_plan(server->text(), module, *server, std::chrono::seconds{0}));
}

http_answer probe_requests::scan(const http_request& request, const sensor_plan& plan) {
    const clock::time_point deadline = clock::now() + time_for(request);
    std::shared_ptr<void> counted = running_;
    if (counted.use_count() > static_cast<long>(most_) + 1) {
        return plain_answer(503, "too many servers are being asked at this moment\n");
    }
    const bool debug = request.parameter("debug") == "true";
    auto answer = scheduler_.request(plan, debug, std::move(counted));
    if (!answer) {
        return plain_answer(503, "too many servers have been asked in the last minutes\n");
    }
    std::optional<scan_outcome> outcome = wait_for(*answer, deadline, stopping_);
    scan_outcome* const result = outcome ? &*outcome : nullptr;
    const std::string accept = request.header("Accept").value_or("");
    http_answer metrics = metrics_of_one(plan, result, time_.wall(), accept);
    return debug ? with_log(metrics, result) : std::move(metrics);
}

} // namespace tarvik::monitoring_modules::probe
