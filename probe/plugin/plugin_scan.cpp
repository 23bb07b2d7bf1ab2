#include "probe/plugin/plugin_scan.hpp"

#include "probe/commands.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/plugin_result.hpp"
#include "probe/sensor_run.hpp"

#include <algorithm>
#include <chrono>
#include <iterator>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

/// Puts results and what earlier ones told about the channels together.
class measurement final {
  public:
    explicit measurement(const module_document& document) : memory_{document} {}

    [[nodiscard]] measured_scan take(const scan_result& result) {
        measured_scan scan{result, memory_.take(result, clock::now()), {}};
        for (const channel_view& view : scan.views) {
            const auto known = memory_.definitions().find(view.id);
            scan.definitions.push_back(
                known == memory_.definitions().end() ? channel_definition{} : known->second
            );
        }
        return scan;
    }

  private:
    channel_memory memory_;
};

[[nodiscard]] std::int32_t severity_for(const scan_options& options) {
    if (options.log.level || options.log.logging) {
        return shown_severity(options.log);
    }
    const int verbosity = options.plugin.verbosity;
    return verbosity < 2 ? -1 : verbosity == 2 ? severity_info : severity_debug;
}

[[nodiscard]] plugin_demands demands_of(const plugin_options& options) {
    std::vector<channel_range> ranges = parse_channel_ranges("--warning", options.warning);
    std::ranges::move(
        parse_channel_ranges("--critical", options.critical), std::back_inserter(ranges)
    );
    return {
        std::move(ranges),
        options.unreachable == "unknown" ? plugin_state::unknown : plugin_state::critical};
}

[[nodiscard]] measured_scan scan_once(sensor_run& sensor, measurement& measured) {
    const sensor_answer answer = sensor.scan();
    sensor_run::require_result(answer);
    return measured.take(answer.results.back());
}

[[nodiscard]] plugin_result scan(
    const plugin_work& work,
    loaded_module& loaded,
    const plugin_demands& demands,
    sensor_run& sensor
) {
    measurement measured{loaded.document};
    work.progress.enter(plugin_stage::preparing);
    sensor.prepare();
    work.progress.enter(plugin_stage::connecting);
    const sensor_answer created = sensor.create();
    if (!sensor.is_created(created)) {
        return judge(measured.take(created.results.back()), demands, loaded.document);
    }
    measured_scan result = scan_once(sensor, measured);
    if (result.result.state != scan_state::error && needs_growth(result, demands)) {
        work.progress.enter(plugin_stage::waiting);
        const auto interval = std::chrono::duration<double>{work.options.interval};
        static_cast<void>(work.interrupt.wait_until(
            clock::now() + std::chrono::duration_cast<clock::duration>(interval)
        ));
        work.progress.enter(plugin_stage::reading);
        result = scan_once(sensor, measured);
    }
    return judge(result, demands, loaded.document);
}

} // namespace

void plugin_progress::enter(plugin_stage stage) {
    const std::lock_guard lock{mutex_};
    stage_ = stage;
}

plugin_progress::log_watch::log_watch(plugin_progress& progress, log_collector& log)
    : progress_{progress} {
    const std::lock_guard lock{progress_.mutex_};
    progress_.log_ = &log;
}

plugin_progress::log_watch::~log_watch() {
    const std::lock_guard lock{progress_.mutex_};
    progress_.log_ = nullptr;
}

std::string plugin_progress::text() {
    const std::lock_guard lock{mutex_};
    // The module connects within the calls that create or scan a sensor.
    if (stage_ == plugin_stage::connecting && log_ != nullptr) {
        for (const log_entry& entry : log_->take()) {
            const auto* event = std::get_if<module_event>(&entry);
            if (event != nullptr && event->kind == ZUNO_EVENT_SESSION_OPENED) {
                stage_ = plugin_stage::reading;
            }
        }
    }
    switch (stage_) {
    case plugin_stage::reading_settings:
        return "reading the settings";
    case plugin_stage::loading:
        return "loading the module";
    case plugin_stage::preparing:
        return "generating the client's key pair";
    case plugin_stage::connecting:
        return "connecting to " + address_;
    case plugin_stage::reading:
        return "reading from " + address_;
    case plugin_stage::waiting:
        break;
    }
    return "waiting for the second scan of " + address_;
}

void scan_for_plugin(
    const plugin_work& work, const std::function<void(const plugin_report&)>& deliver
) {
    const scan_options& options = work.options;
    const plugin_demands demands = demands_of(options.plugin);
    const settings_draft draft = sensor_draft(options, work.terminal);
    work.progress.enter(plugin_stage::loading);
    loaded_module loaded{
        work.line.module, work.line.language, work.terminal, severity_for(options)};
    const plugin_progress::log_watch watch{work.progress, loaded.log};
    sensor_run sensor{work.terminal, loaded, options, draft};
    const plugin_result result = scan(work, loaded, demands, sensor);
    deliver(
        {result.state,
         render_plugin(result, address_of(options.connection), options.plugin.verbosity)}
    );
}

} // namespace tarvik::monitoring_modules::probe
