#pragma once

// Knows the kinds of sensors, checks and notifications by name, builds them from settings and runs
// them.

#include "zunohelper/check_interface.hpp"
#include "zunohelper/export.hpp"
#include "zunohelper/notifications/service_interface.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"
#include "zunohelper/sensor_interface.hpp"
#include "zunohelper/sensor_stock.hpp"
#include "zunohelper/service_container.hpp"

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::libzunohelper {

/// Builds a sensor from its id and settings. It may take its time and be called from several
/// threads; the settings are valid only during the call.
using sensor_factory = std::function<std::unique_ptr<
    sensor_interface>(std::int32_t, const sensor_data_wrapper&, std::shared_ptr<service_container>)>;

/// The same for a check.
using check_factory = std::function<std::unique_ptr<
    check_interface>(std::int32_t, const sensor_data_wrapper&, std::shared_ptr<service_container>)>;

/// Builds what sends one notification.
using notification_factory = std::function<
    std::unique_ptr<notifications::service_interface>(std::shared_ptr<service_container>)>;

/// Kinds are registered while the module is built, before any other use. Everything else is
/// thread-safe: no lock is held while a sensor is built, and scans of different sensors run at the
/// same time.
///
/// The operations that a host asks for return 0 when the work was done and 1 when it was refused;
/// the reason of a refusal stands in the runtime log at severity 3. All other failures are thrown.
class ZUNOHELPER_API sensor_dispatcher {
  public:
    static constexpr std::int32_t done = 0;
    static constexpr std::int32_t refused = 1;

    /// The sort of meta-scan that sends a notification; there is no other.
    static constexpr std::uint32_t notification_meta_scan = 1;

    /// @param container handed on to each sensor and check; supplies the message service and the
    /// runtime log.
    /// @throws std::invalid_argument for null.
    explicit sensor_dispatcher(std::shared_ptr<service_container> container);
    sensor_dispatcher(const sensor_dispatcher&) = delete;
    sensor_dispatcher& operator=(const sensor_dispatcher&) = delete;

    /// Destroys all sensors. No operation may be running.
    ~sensor_dispatcher();

    /// @throws utils::exceptions::sensor_registry when the kind is registered already.
    /// @throws std::invalid_argument for an empty factory.
    void register_sensor(std::string kind, sensor_factory make);
    void register_check(std::string kind, check_factory make);
    void register_notification(std::string kind, notification_factory make);

    /// @return the registered kinds, sorted.
    [[nodiscard]] std::vector<std::string> sensor_kinds() const;
    [[nodiscard]] std::vector<std::string> check_kinds() const;

    /// Builds the sensor that the settings describe and keeps it under the id. When building fails,
    /// the id stays free, and the reason reaches the log and the host (report_creation_failure).
    /// @return refused when the id is in use, or the kind is unknown; the host also receives the
    /// latter as an error result.
    /// @throws what the factory throws.
    std::int32_t create_sensor_instance(std::int32_t id, const sensor_data_wrapper& data);

    /// Has the sensor scan once; waits for a scan of it that is running.
    /// @return refused when there is no such sensor, or it was destroyed while this call waited.
    /// @throws what the scan throws; utils::exceptions::sensor_registry, which is logged, while the
    /// calling thread is inside a message's send function: two of them that wait for each other's
    /// sensors would wait for ever.
    std::int32_t execute_sensor_scan(std::int32_t id);

    /// Destroys the sensor; waits for a scan of it that is running. No message of the sensor
    /// follows.
    /// @return refused when there is no such sensor.
    /// @throws utils::exceptions::sensor_registry as execute_sensor_scan.
    std::int32_t destroy_sensor_instance(std::int32_t id);

    /// Sends the notification that the settings describe, then its response, whether or not
    /// sending worked.
    /// @param id handed back in the response.
    /// @param kind notification_meta_scan.
    /// @return refused for every other sort of meta-scan and for an unknown kind of notification.
    /// @throws what the factory or the notification throws, the latter once the response is sent;
    /// what sending the response throws.
    std::int32_t
    execute_meta_scan(std::int32_t id, std::uint32_t kind, const sensor_data_wrapper& data);

    /// Builds the check that the settings describe and runs it once.
    /// @return refused when the kind is unknown.
    /// @throws what the factory or the check throws.
    std::int32_t execute_check(std::int32_t id, const sensor_data_wrapper& data);

    /// Tells why a sensor could not be built: one line in the runtime log at severity 3 and, if the
    /// id belongs to no sensor, one error result for it. For failures that come before
    /// create_sensor_instance, such as unreadable settings; that itself reports its own. Failures
    /// to deliver the report are logged, not thrown.
    void report_creation_failure(std::int32_t id, const std::exception& reason);

  private:
    /// Logs the reason of a refusal.
    [[nodiscard]] std::int32_t refuse(const std::exception& reason) const;
    void refuse_in_callback() const;
    void log_error(std::string_view text) const;
    void send_failure(std::int32_t id, const std::exception& reason) const;

    std::shared_ptr<service_container> container_;
    std::map<std::string, sensor_factory> sensor_kinds_; // fixed once the module is built
    std::map<std::string, check_factory> check_kinds_;   // likewise
    std::map<std::string, notification_factory> notification_kinds_; // likewise
    sensor_stock sensors_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
