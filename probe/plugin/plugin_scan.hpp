#pragma once
// The work of the plugin: loads the module, scans the sensor once or twice, finds its state; and
// how far that has come, for the thread that watches it and may have to tell where it got stuck.

#include "probe/command_line.hpp"
#include "probe/log_collector.hpp"
#include "probe/plugin/plugin_result.hpp"
#include "terminal/console.hpp"
#include "terminal/interruption.hpp"

#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

enum class plugin_stage { reading_settings, loading, preparing, connecting, reading, waiting };

/// Thread-safe.
class plugin_progress final {
  public:
    /// @param address "plc-7:4840", for the texts
    explicit plugin_progress(std::string address) : address_{std::move(address)} {}

    void enter(plugin_stage stage);

    /// While it lives, the log may be asked whether the module has got its session.
    class log_watch final {
      public:
        /// Both must outlive this object.
        log_watch(plugin_progress& progress, log_collector& log);
        ~log_watch();
        log_watch(const log_watch&) = delete;
        log_watch& operator=(const log_watch&) = delete;

      private:
        plugin_progress& progress_;
    };

    /// @return "connecting to plc-7:4840", "reading from plc-7:4840", "loading the module"
    [[nodiscard]] std::string text();

  private:
    std::mutex mutex_;
    const std::string address_;
    plugin_stage stage_ = plugin_stage::reading_settings; // guarded by mutex_
    log_collector* log_ = nullptr;                        // guarded by mutex_
};

/// How the plugin ends.
struct plugin_report {
    plugin_state state = plugin_state::unknown;
    std::string text; ///< for standard output
};

/// What the work needs; everything outlives it.
struct plugin_work {
    const command_line& line;
    const scan_options& options; ///< of the line
    console& terminal;
    interruption& interrupt;
    plugin_progress& progress;
};

/// Blocks as long as the module does.
/// @param deliver called once with the report, as soon as it is known and before the module is
/// taken down
/// @throws probe_error, std::exception when there is nothing to report, before deliver is called
void scan_for_plugin(
    const plugin_work& work, const std::function<void(const plugin_report&)>& deliver
);

} // namespace tarvik::monitoring_modules::probe
