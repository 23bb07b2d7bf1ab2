#include "probe/plugin/plugin_command.hpp"

#include "probe/commands.hpp"
#include "probe/plugin/plugin_output.hpp"
#include "probe/plugin/plugin_range.hpp"
#include "probe/plugin/plugin_scan.hpp"
#include "text/number.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <future>
#include <string_view>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds signal_interval{50}; // how soon a signal is seen
constexpr std::chrono::seconds time_to_close{1};         // for the sessions

[[nodiscard]] plugin_report unknown(const std::string& text) {
    return {plugin_state::unknown, render_unknown(text)};
}

/// What the thread that works promises to the one that watches.
struct promised_report {
    std::promise<plugin_report> report;
    std::promise<void> end;
};

void work_for(promised_report& promised, const plugin_work& work) noexcept {
    bool delivered = false;
    const auto deliver = [&](const plugin_report& report) { // the first report counts
        if (!std::exchange(delivered, true)) {
            promised.report.set_value(report);
        }
    };
    try {
        scan_for_plugin(work, deliver);
    } catch (const std::exception& error) {
        deliver(unknown(error.what()));
    }
    promised.end.set_value();
}

[[nodiscard]] plugin_report wait_for_report(
    std::future<plugin_report>& report, const plugin_work& work, clock::time_point deadline
) {
    for (;;) {
        const clock::time_point now = clock::now();
        if (report.wait_until(std::min(deadline, now + signal_interval)) ==
            std::future_status::ready) {
            return report.get();
        }
        if (work.interrupt.requested()) {
            return unknown("interrupted while " + work.progress.text());
        }
        if (clock::now() >= deadline) {
            const double seconds = work.options.plugin.timeout;
            return unknown(
                "timed out after " + decimal(seconds) + " s while " + work.progress.text()
            );
        }
    }
}

/// @return the exit code
[[nodiscard]] int write(const plugin_report& report) noexcept {
    try {
        output{}.write(report.text);
        return static_cast<int>(report.state);
    } catch (const std::exception&) {
        return static_cast<int>(plugin_state::unknown); // nobody reads it
    }
}

/// @return the exit code; never throws, because a thread works with what would be taken away
[[nodiscard]] int watch(
    std::future<plugin_report>& report, const plugin_work& work, clock::time_point deadline
) noexcept {
    try {
        return write(wait_for_report(report, work, deadline));
    } catch (const std::exception&) {
        return static_cast<int>(plugin_state::unknown); // out of memory
    }
}

/// The module's calls block and cannot be interrupted, so a thread of its own makes them.
[[nodiscard]] int
run_scan(const command_line& line, const scan_options& options, clock::time_point start) {
    console terminal;
    if (options.plugin.verbosity == 0 && !options.log.level && !options.log.logging) {
        terminal.mute(); // some systems read standard error as a part of the answer
    }
    interruption interrupt{terminal};
    plugin_progress progress{address_of(options.connection)};
    const plugin_work work{line, options, terminal, interrupt, progress};
    promised_report promised;
    std::future<plugin_report> report = promised.report.get_future();
    const std::future<void> end = promised.end.get_future();
    std::thread worker{[&promised, &work] { work_for(promised, work); }};
    const auto limit = std::chrono::duration<double>{options.plugin.timeout};
    const auto deadline = start + std::chrono::duration_cast<clock::duration>(limit);
    const int code = watch(report, work, deadline);
    if (end.wait_until(std::min(deadline, clock::now() + time_to_close)) !=
        std::future_status::ready) {
        _exit(code); // what the thread works with must not be taken away
    }
    worker.join();
    return code;
}

[[nodiscard]] int run(int count, const char* const* arguments, clock::time_point start) {
    const command_line line = parse_command_line(count, arguments);
    if (const auto* scan = std::get_if<scan_options>(&line.command)) {
        return run_scan(line, *scan, start);
    }
    // Help or version: not OK, because nothing was looked at.
    const auto* shown = std::get_if<shown_text>(&line.command);
    return write({plugin_state::unknown, shown == nullptr ? "" : shown->text});
}

} // namespace

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
        try {
            return write(unknown(error.what()));
        } catch (const std::exception&) {
            return static_cast<int>(plugin_state::unknown);
        }
    }
}

} // namespace tarvik::monitoring_modules::probe
