#pragma once
// How far a scan has come, for the thread that watches it and may have to tell where it got stuck.

#include "probe/log_collector.hpp"

#include <mutex>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

enum class plugin_stage { settings, loading, preparing, connecting, reading, waiting };

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
    plugin_stage stage_ = plugin_stage::settings; // guarded by mutex_
    log_collector* log_ = nullptr;                // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
