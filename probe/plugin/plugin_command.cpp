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
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds signal_interval{50}; // how soon a signal is seen
constexpr std::chrono::seconds farewell{1};              // for closing the session

[[nodiscard]] plugin_report unknown(const std::string& text) {
    return {plugin_state::unknown, render_unknown(text)};
}

/// Passes the report from the thread that works to the one that watches.
class report_box final {
  public:
    /// The first report counts.
    void deliver(plugin_report report) {
        {
            const std::lock_guard lock{mutex_};
            if (!report_) {
                report_ = std::move(report);
            }
        }
        changed_.notify_all();
    }

    void set_ended() {
        {
            const std::lock_guard lock{mutex_};
            ended_ = true;
        }
        changed_.notify_all();
    }

    /// @return the report if there is one by then
    [[nodiscard]] std::optional<plugin_report> wait_for_report(clock::time_point until) {
        std::unique_lock lock{mutex_};
        changed_.wait_until(lock, until, [this] { return report_.has_value(); });
        return report_;
    }

    [[nodiscard]] bool wait_for_end(clock::time_point until) {
        std::unique_lock lock{mutex_};
        return changed_.wait_until(lock, until, [this] { return ended_; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<plugin_report> report_;
    bool ended_ = false;
};

void work_for(report_box& box, const plugin_work& work) noexcept {
    try {
        scan_for_plugin(work, [&box](const plugin_report& report) { box.deliver(report); });
    } catch (const std::exception& error) {
        box.deliver(unknown(error.what()));
    }
    box.set_ended();
}

[[nodiscard]] plugin_report
wait_for_report(report_box& box, const plugin_work& work, clock::time_point deadline) {
    for (;;) {
        const clock::time_point now = clock::now();
        if (auto report = box.wait_for_report(std::min(deadline, now + signal_interval))) {
            return *std::move(report);
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
[[nodiscard]] int
watch(report_box& box, const plugin_work& work, clock::time_point deadline) noexcept {
    try {
        return write(wait_for_report(box, work, deadline));
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
    report_box box;
    std::thread worker{[&box, &work] { work_for(box, work); }};
    const auto limit = std::chrono::duration<double>{options.plugin.timeout};
    const auto deadline = start + std::chrono::duration_cast<clock::duration>(limit);
    const int code = watch(box, work, deadline);
    if (!box.wait_for_end(std::min(deadline, clock::now() + farewell))) {
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
