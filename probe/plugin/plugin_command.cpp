#include "probe/plugin/plugin_command.hpp"

#include "host/hint.hpp"
#include "probe/commands.hpp"
#include "probe/plugin/ok_line.hpp"
#include "probe/plugin/plugin_call.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/plugin_result.hpp"
#include "probe/plugin/rule_arguments.hpp"
#include "probe/plugin/value_age.hpp"
#include "probe/sensor_run.hpp"
#include "text/number.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <future>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds signal_interval{50}; // how soon a signal is seen
constexpr std::chrono::seconds time_to_close{1};         // for the sessions

/// @return up to which severity log lines are shown; -1: none
[[nodiscard]] std::int32_t severity_for(const plugin_options& options, const log_arguments& log) {
    if (log.level || log.logging) {
        return log.level.value_or(severity_debug);
    }
    return options.verbosity < 2 ? -1 : options.verbosity == 2 ? severity_info : severity_debug;
}

[[nodiscard]] plugin_report unknown(const std::string& text) {
    return {plugin_state::unknown, render_unknown(text)};
}

[[nodiscard]] std::vector<judged_channel>
measured(channel_memory& memory, const scan_result& result) {
    std::vector<judged_channel> channels;
    for (channel_view& view : memory.take(result, clock::now())) {
        const auto known = memory.definitions().find(view.id);
        channels.push_back(
            {std::move(view),
             known == memory.definitions().end() ? channel_definition{} : known->second}
        );
    }
    return channels;
}

[[nodiscard]] scan_result scan_once(sensor_run& sensor) {
    sensor_run::answer answer = sensor.scan();
    sensor_run::require_result(answer);
    return std::move(answer.results.back());
}

[[nodiscard]] age_demand ages_of(const plugin_options& options) {
    return {
        std::chrono::duration<double>{options.max_age.value_or(0)},
        options.too_old == "warning"   ? plugin_state::warning
        : options.too_old == "unknown" ? plugin_state::unknown
                                       : plugin_state::critical};
}

/// Scans the sensor once, or twice to learn how fast its counters grow.
[[nodiscard]] plugin_result scan(
    plugin_call& call,
    const scan_options& options,
    const channel_rules& rules,
    const module_document& document,
    sensor_run& sensor,
    value_ages& ages
) {
    const std::string address = address_of(call.connection);
    const plugin_demands demands = demands_of(options.plugin, rules);
    response_time time;
    channel_memory memory{document, rules};
    call.progress.enter("generating the client's key pair");
    sensor.prepare();
    call.progress.enter("connecting to " + address);
    const std::vector<scan_result> created = time.of([&] { return sensor.create(); });
    if (!sensor.created()) {
        const scan_result& failed = created.back();
        std::vector<judged_channel> channels = measured(memory, failed);
        plugin_result judged = judge(failed, std::move(channels), memory.problems(), demands);
        judged.hint = labelled_hint(failed.hint, document.texts().language());
        return judged;
    }
    ages.begin_scan();
    scan_result result = time.of([&] { return scan_once(sensor); });
    std::vector<judged_channel> channels = measured(memory, result);
    if (result.state != scan_state::error && needs_growth(channels)) {
        call.progress.enter("waiting for the second scan of " + address);
        const auto interval = std::chrono::duration<double>{options.interval};
        static_cast<void>(call.interrupt.wait_until(
            clock::now() + std::chrono::duration_cast<clock::duration>(interval)
        ));
        call.progress.enter("reading from " + address);
        ages.begin_scan();
        result = scan_once(sensor);
        channels = measured(memory, result);
    }
    plugin_result judged = judge(result, std::move(channels), memory.problems(), demands);
    judged.hint = labelled_hint(result.hint, document.texts().language());
    if (result.state != scan_state::error) {
        judged.seconds = time.seconds();
        judged.good = ok_line(options.kind, judged.channels);
        if (options.plugin.max_age) {
            const auto now = std::chrono::system_clock::now();
            if (auto finding = ages.judge(ages_of(options.plugin), now)) {
                add_finding(judged, *std::move(finding));
            }
        }
    }
    return judged;
}

void load_and_scan(plugin_call& call, const scan_options& options) {
    const std::string address = address_of(options.connection);
    const channel_rules rules = rules_of(options.plugin);
    const settings_draft draft = draft_of(options, call.terminal);
    loaded_module loaded = load_module(call);
    value_ages ages;
    // The module connects within the calls that create or scan a sensor.
    loaded.log.on_event([&](const module_event& event) {
        ages.take(event);
        if (event.kind == ZUNO_EVENT_SESSION_OPENED) {
            call.progress.enter("reading from " + address);
        }
    });
    sensor_run sensor{call.terminal, loaded, options, draft};
    plugin_result result = scan(call, options, rules, loaded.document, sensor, ages);
    if (std::string refusal = loaded.trust.take_refusal(); !refusal.empty()) {
        result.message = std::move(refusal);
        result.hint.clear(); // the refusal has the way out
    }
    call.report.set_value({result.state, render_plugin(result, address, options.plugin.verbosity)});
}

void work(plugin_call& call) noexcept {
    try {
        if (const auto* scan = std::get_if<scan_options>(&call.line.command)) {
            load_and_scan(call, *scan);
        } else {
            load_and_check(call, std::get<check_options>(call.line.command));
        }
    } catch (const std::exception& error) {
        call.report.set_value(unknown(error.what()));
    }
    call.end.set_value();
}

[[nodiscard]] plugin_report
wait_for_report(std::future<plugin_report>& report, plugin_call& call, clock::time_point deadline) {
    for (;;) {
        const clock::time_point now = clock::now();
        if (report.wait_until(std::min(deadline, now + signal_interval)) ==
            std::future_status::ready) {
            return report.get();
        }
        if (call.interrupt.requested()) {
            return unknown("interrupted while " + call.progress.text());
        }
        if (clock::now() >= deadline) {
            const double seconds = call.options.timeout;
            return unknown(
                "timed out after " + decimal(seconds) + " s while " + call.progress.text()
            );
        }
    }
}

/// Never throws, because a thread may work with what would be taken away.
/// @return the exit code; UNKNOWN, too, when there is no memory, or nobody who reads
template <typename Make>
[[nodiscard]] int write(const Make& make_report) noexcept {
    try {
        const plugin_report report = make_report();
        output{}.write(report.text);
        return static_cast<int>(report.state);
    } catch (const std::exception&) {
        return static_cast<int>(plugin_state::unknown);
    }
}

/// The module's calls block and cannot be interrupted, so a thread of its own makes them.
template <typename Options>
[[nodiscard]] int
run_command(const command_line& line, const Options& options, clock::time_point start) {
    plugin_call call{line, options.connection, options.plugin, options.log};
    if (options.plugin.verbosity == 0 && !options.log.level && !options.log.logging) {
        call.terminal.mute(); // some systems read standard error as a part of the answer
    }
    std::future<plugin_report> report = call.report.get_future();
    const std::future<void> end = call.end.get_future();
    std::thread worker{[&call] { work(call); }};
    const auto limit = std::chrono::duration<double>{options.plugin.timeout};
    const auto deadline = start + std::chrono::duration_cast<clock::duration>(limit);
    const int code = write([&] { return wait_for_report(report, call, deadline); });
    if (end.wait_until(std::min(deadline, clock::now() + time_to_close)) !=
        std::future_status::ready) {
        _exit(code); // what the thread works with must not be taken away
    }
    worker.join();
    return code;
}

[[nodiscard]] int run(int count, const char* const* arguments, clock::time_point start) {
    std::string help; // has no place in a plugin's answer
    const command_line line = parse_command_line(count, arguments, help);
    if (const auto* scan = std::get_if<scan_options>(&line.command)) {
        return run_command(line, *scan, start);
    }
    if (const auto* check = std::get_if<check_options>(&line.command)) {
        return run_command(line, *check, start);
    }
    // Help or version: not OK, because nothing was looked at.
    const auto* shown = std::get_if<shown_text>(&line.command);
    return write([shown] {
        return plugin_report{plugin_state::unknown, shown == nullptr ? "" : shown->text};
    });
}

} // namespace

loaded_module load_module(plugin_call& call) {
    call.progress.enter("loading the module");
    return {
        call.line.module,
        call.line.language,
        call.terminal,
        severity_for(call.options, call.log),
        call.connection};
}

plugin_demands demands_of(const plugin_options& options, const channel_rules& rules) {
    return {
        rules.message,
        options.unreachable == "unknown" ? plugin_state::unknown : plugin_state::critical};
}

bool is_plugin_call(int count, const char* const* arguments) noexcept {
    std::string_view before;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--format=plugin" || (before == "--format" && argument == "plugin")) {
            return true;
        }
        before = argument;
    }
    return false;
}

int run_plugin(int count, const char* const* arguments) noexcept {
    const clock::time_point start = clock::now();
    try {
        // A reader that is gone shall not end this with a signal in place of an exit code.
        static_cast<void>(signal(SIGPIPE, SIG_IGN));
        return run(count, arguments, start);
    } catch (const std::exception& error) {
        return write([&error] { return unknown(error.what()); });
    }
}

} // namespace tarvik::monitoring_modules::probe
