#include "zunohelper/sensor_stock.hpp"

#include <atomic>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

/// The place of one sensor. It outlives the sensor as long as somebody waits for `running`.
struct sensor_stock::slot {
    std::mutex running;                       // held while the sensor works, comes or goes
    std::unique_ptr<sensor_interface> sensor; // guarded by running; null before and after its life
    std::atomic<bool> published{false};
    std::atomic<bool> leaving{false};
};

sensor_stock::reservation::reservation(
    sensor_stock& stock, std::int32_t id, std::shared_ptr<slot> place
) noexcept
    : stock_{&stock},
      id_{id},
      slot_{std::move(place)} {}

sensor_stock::reservation::reservation(reservation&& other) noexcept
    : stock_{std::exchange(other.stock_, nullptr)},
      id_{other.id_},
      slot_{std::move(other.slot_)} {}

sensor_stock::reservation::~reservation() {
    if (stock_) {
        stock_->erase(id_);
    }
}

void sensor_stock::reservation::publish(std::unique_ptr<sensor_interface> sensor) noexcept {
    const std::lock_guard lock{slot_->running};
    slot_->sensor = std::move(sensor);
    slot_->published = true;
    stock_ = nullptr;
}

sensor_stock::sensor_stock() = default;
sensor_stock::~sensor_stock() = default;

std::optional<sensor_stock::reservation> sensor_stock::reserve(std::int32_t id) {
    auto place = std::make_shared<slot>();
    const std::lock_guard lock{mutex_};
    if (!slots_.try_emplace(id, place).second) {
        return std::nullopt;
    }
    return reservation{*this, id, std::move(place)};
}

bool sensor_stock::scan(std::int32_t id) {
    const auto place = find(id);
    if (!place) {
        return false;
    }
    const std::lock_guard lock{place->running};
    if (place->leaving) {
        return false;
    }
    place->sensor->scan();
    return true;
}

bool sensor_stock::remove(std::int32_t id) {
    const auto place = find(id);
    if (!place) {
        return false;
    }
    place->leaving = true; // before the wait, so that scans that wait as well do not come first
    {
        const std::lock_guard lock{place->running};
        if (!place->sensor) {
            return false; // another thread removed it meanwhile
        }
        place->sensor.reset();
    }
    erase(id); // only now: a new sensor with this id must not live beside the old one
    return true;
}

std::shared_ptr<sensor_stock::slot> sensor_stock::find(std::int32_t id) const {
    const std::lock_guard lock{mutex_};
    const auto found = slots_.find(id);
    return found != slots_.end() && found->second->published ? found->second : nullptr;
}

void sensor_stock::erase(std::int32_t id) noexcept {
    const std::lock_guard lock{mutex_};
    slots_.erase(id);
}

} // namespace tarvik::monitoring_modules::libzunohelper
