#include "probe/plugin/plugin_progress.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

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
    plugin_stage stage = stage_;
    // The module connects within the calls that create or scan a sensor; only its log tells when
    // that is over.
    if (stage == plugin_stage::connecting && log_ != nullptr &&
        std::ranges::any_of(log_->take_lines(), [](const log_line& line) {
            return line.text.starts_with("Session opened");
        })) {
        stage = plugin_stage::reading;
    }
    switch (stage) {
    case plugin_stage::settings:
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

} // namespace tarvik::monitoring_modules::probe
