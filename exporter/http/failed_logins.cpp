#include "exporter/http/failed_logins.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

std::chrono::seconds failed_logins::wait(const std::string& address, time_point now) const {
    const std::lock_guard lock{mutex_};
    const auto found = entries_.find(address);
    if (found == entries_.end() || found->second.until <= now) {
        return {};
    }
    return std::chrono::ceil<std::chrono::seconds>(found->second.until - now);
}

void failed_logins::add(const std::string& address, time_point now) {
    const std::lock_guard lock{mutex_};
    if (entries_.size() >= most_addresses && !entries_.contains(address)) {
        std::erase_if(entries_, [now](const auto& each) { return each.second.until <= now; });
        if (entries_.size() >= most_addresses) {
            entries_.erase(std::ranges::min_element(entries_, {}, [](const auto& each) {
                return each.second.last;
            }));
        }
    }
    entry& known = entries_[address];
    if (known.count > 0 && now - known.last > memory) {
        known.count = 0;
    }
    ++known.count;
    known.last = now;
    if (known.count >= free_attempts) {
        constexpr unsigned most_doublings = 5;
        const auto wait =
            std::chrono::seconds{1U << std::min(known.count - free_attempts, most_doublings)};
        known.until = now + std::min(wait, longest_wait);
    }
}

} // namespace tarvik::monitoring_modules::probe
