#include "common/liblog/memory_logger.hpp"

namespace tarvik::monitoring_modules::liblog {

void memory_logger::log(severity level, std::string_view text) {
    const std::lock_guard lock{mutex_};
    lines_.add(level, text);
}

std::deque<memory_logger::entry> memory_logger::entries() const {
    const std::lock_guard lock{mutex_};
    return lines_.entries();
}

void memory_logger::clear() {
    const std::lock_guard lock{mutex_};
    lines_.clear();
}

} // namespace tarvik::monitoring_modules::liblog
