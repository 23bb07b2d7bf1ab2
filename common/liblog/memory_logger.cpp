#include "common/liblog/memory_logger.hpp"

namespace tarvik::monitoring_modules::liblog {

void memory_logger::log(severity level, std::string_view text) {
    const std::lock_guard lock{mutex_};
    entries_.emplace_back(level, text);
}

std::deque<memory_logger::entry> memory_logger::entries() const {
    const std::lock_guard lock{mutex_};
    return entries_;
}

void memory_logger::clear() {
    const std::lock_guard lock{mutex_};
    entries_.clear();
}

} // namespace tarvik::monitoring_modules::liblog
