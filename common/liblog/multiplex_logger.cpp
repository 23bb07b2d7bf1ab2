#include "common/liblog/multiplex_logger.hpp"

#include <algorithm>
#include <limits>

namespace tarvik::monitoring_modules::liblog {

namespace {

template <typename Targets>
auto find_target(Targets& targets, const std::shared_ptr<log_interface>& target) {
    return std::find_if(targets.begin(), targets.end(), [&](const auto& listed) {
        return listed.second.target.lock() == target;
    });
}

} // namespace

void multiplex_logger::add(const std::shared_ptr<log_interface>& target, severity highest) {
    if (!target) {
        return;
    }
    const std::lock_guard lock{mutex_};
    if (const auto listed = find_target(targets_, target); listed != targets_.end()) {
        listed->second.highest = highest;
        return;
    }
    targets_.emplace(next_position_++, target_entry{target, highest});
}

void multiplex_logger::remove(const std::shared_ptr<log_interface>& target) {
    if (!target) {
        return;
    }
    const std::lock_guard lock{mutex_};
    if (const auto listed = find_target(targets_, target); listed != targets_.end()) {
        targets_.erase(listed);
    }
}

void multiplex_logger::log(severity level, std::string_view text) {
    const std::lock_guard lock{mutex_};
    for (auto listed = targets_.begin(); listed != targets_.end();) {
        const auto target = listed->second.target.lock();
        if (!target) {
            listed = targets_.erase(listed);
            continue;
        }
        if (level <= listed->second.highest && takes(target.get(), level)) {
            target->log(level, text);
        }
        ++listed;
    }
}

severity multiplex_logger::threshold() const noexcept {
    const std::lock_guard lock{mutex_};
    auto highest = severity{std::numeric_limits<std::int32_t>::min()};
    for (const auto& [position, listed] : targets_) {
        if (const auto target = listed.target.lock()) {
            highest = std::max(highest, std::min(listed.highest, target->threshold()));
        }
    }
    return highest;
}

std::size_t multiplex_logger::target_count() const {
    const std::lock_guard lock{mutex_};
    return targets_.size();
}

} // namespace tarvik::monitoring_modules::liblog
