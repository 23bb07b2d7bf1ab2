#include "zunohelper/channel_map.hpp"

#include "common/catalogue/framework_exceptions.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

channel_map::channel_map() = default;
channel_map::~channel_map() = default;

std::size_t channel_map::index_of(std::int32_t id) const {
    if (!initialized_) {
        throw utils::exceptions::channel_map_not_initialized{};
    }
    return static_cast<std::size_t>(
        std::ranges::find(known_, id, &known_channel::id) - known_.begin()
    );
}

void channel_map::define(dynamic_channel channel) {
    initialize();
    if (is_defined(channel.id)) {
        throw utils::exceptions::channel_already_defined{
            std::to_string(channel.id), channel.name.text()};
    }
    known_.reserve(known_.size() + 1); // so that both lists grow, or neither
    pending_.push_back(std::move(channel));
    known_.push_back({pending_.back().id, pending_.back().type});
}

bool channel_map::is_defined(std::int32_t id) const {
    return index_of(id) < known_.size();
}

dynamic_channel::value_type channel_map::type_of(std::int32_t id) const {
    const std::size_t index = index_of(id);
    if (index == known_.size()) {
        throw utils::exceptions::channel_not_defined{std::to_string(id)};
    }
    return known_[index].type;
}

void channel_map::mark_delivered() noexcept {
    std::vector<dynamic_channel>{}.swap(pending_); // gives the memory back, too
}

} // namespace tarvik::monitoring_modules::libzunohelper
