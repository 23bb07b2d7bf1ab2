#pragma once
// One call of the plugin: what the thread that works shares with the one that watches it.

#include "probe/commands.hpp"
#include "probe/plugin/plugin_result.hpp"

#include <chrono>
#include <cstdint>
#include <future>
#include <mutex>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

/// How the plugin ends.
struct plugin_report {
    plugin_state state;
    std::string text; ///< for standard output
};

/// What is being done, to tell where it got stuck. Thread-safe.
class plugin_progress final {
  public:
    void enter(std::string what) {
        const std::lock_guard lock{mutex_};
        what_ = std::move(what);
    }
    /// @return "connecting to plc-7:4840"
    [[nodiscard]] std::string text() {
        const std::lock_guard lock{mutex_};
        return what_;
    }

  private:
    std::mutex mutex_;
    std::string what_ = "reading the settings"; // guarded by mutex_
};

struct plugin_call {
    const command_line& line;
    const connection_arguments& connection; ///< of the line, as the others
    const plugin_options& options;
    const log_arguments& log;
    console terminal{};
    interruption interrupt{terminal};
    plugin_progress progress{};
    std::promise<plugin_report> report{}; ///< kept as soon as it is known
    std::promise<void> end{};             ///< kept when the module is taken down
};

/// The module of this call, to be loaded when the settings are read.
/// @throws probe_error
[[nodiscard]] loaded_module load_module(plugin_call& call);

/// @param rules that the options have
[[nodiscard]] plugin_demands
demands_of(const plugin_options& options, const channel_rules& rules = {});

/// How long the server has taken.
class response_time final {
  public:
    /// @return what the call returns, whose time is added
    template <typename Call>
    [[nodiscard]] auto of(const Call& call) {
        const auto start = std::chrono::steady_clock::now();
        auto result = call();
        total_ += std::chrono::steady_clock::now() - start;
        return result;
    }
    [[nodiscard]] double seconds() const noexcept { return total_.count(); }

  private:
    std::chrono::duration<double> total_{0};
};

/// Runs a check and reports it.
/// @throws probe_error
void load_and_check(plugin_call& call, const check_options& options);

} // namespace tarvik::monitoring_modules::probe
