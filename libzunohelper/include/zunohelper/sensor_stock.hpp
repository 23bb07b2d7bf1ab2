#pragma once

// The sensors that exist now, by id, and the rules of their lives: an id belongs to one sensor at a
// time, the scans of one sensor come one after the other, and when remove returns, its sensor is
// gone.

#include "zunohelper/export.hpp"
#include "zunohelper/sensor_interface.hpp"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace tarvik::monitoring_modules::libzunohelper {

/// Thread-safe. While the stock works on one sensor, others may be added, scanned and removed.
/// Destroying the stock destroys its sensors; nobody may use it any more then.
class ZUNOHELPER_API sensor_stock {
    struct slot;

  public:
    /// An id that is taken for a sensor which is still being built. Unless the sensor is published,
    /// the id is free again when this object is destroyed; it must not outlive the stock.
    class ZUNOHELPER_API reservation {
      public:
        reservation(reservation&& other) noexcept;
        reservation& operator=(reservation&&) = delete;
        ~reservation();

        /// Puts the sensor under the reserved id. To be called once.
        /// @param sensor not null.
        void publish(std::unique_ptr<sensor_interface> sensor) noexcept;

      private:
        friend class sensor_stock;
        reservation(sensor_stock& stock, std::int32_t id, std::shared_ptr<slot> place) noexcept;

        sensor_stock* stock_; // null when the sensor is published
        std::int32_t id_;
        std::shared_ptr<slot> slot_;
    };

    sensor_stock();
    sensor_stock(const sensor_stock&) = delete;
    sensor_stock& operator=(const sensor_stock&) = delete;
    ~sensor_stock();

    /// Takes an id.
    /// @return nothing when it is in use, be it by a sensor that is still being built or just being
    /// removed.
    [[nodiscard]] std::optional<reservation> reserve(std::int32_t id);

    /// Scans a sensor; waits for a scan of it that is running, so it must not be called from inside
    /// one.
    /// @return false when there is no such sensor, or it was removed while this call waited.
    /// @throws what the scan throws.
    [[nodiscard]] bool scan(std::int32_t id);

    /// Destroys a sensor; waits for a scan of it that is running, and turns away scans that wait.
    /// Not to be called from inside a scan.
    /// @return false when there is no such sensor.
    [[nodiscard]] bool remove(std::int32_t id);

  private:
    [[nodiscard]] std::shared_ptr<slot> find(std::int32_t id) const;
    void erase(std::int32_t id) noexcept;

    mutable std::mutex mutex_;
    std::unordered_map<std::int32_t, std::shared_ptr<slot>> slots_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::libzunohelper
