#pragma once

// The frame of every sensor kind: parsed settings, log and services, and the scan around the kind's
// own work.

#include "common/liblog/log_interface.hpp"
#include "opcua/sensors/scan_frame.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/runtime_log.hpp"
#include "zunohelper/scan_result.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"
#include "zunohelper/sensor_interface.hpp"
#include "zunohelper/service_container.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

/// @tparam Settings the kind's settings record: copyable, with a member `connection`
/// (settings::connection) and a static member function `parse(const settings_reader&)`.
template <typename Settings>
class sensor_base : public libzunohelper::sensor_interface {
  public:
    ~sensor_base() override { log_sensor_end(log_.get()); }

    [[nodiscard]] std::int32_t id() const noexcept override { return id_; }

    /// Writes a line to the sensor's log at debug level, or at the given one.
    virtual void log(std::string_view text) const { log(liblog::severity::debug, text); }
    virtual void log(liblog::severity level, std::string_view text) const {
        liblog::write(log_.get(), level, text);
    }

    void scan() final {
        run_sensor_scan(id_, *message_service_, log_.get(), [this] { execute_sensor_scan(); });
    }

  protected:
    /// @throws the errors of Settings::parse.
    sensor_base(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> container,
        std::string_view display_name
    )
        : id_{id},
          settings_{Settings::parse(data.settings())},
          container_{std::move(container)},
          message_service_{container_->template get<libzunohelper::message_service_interface>()},
          log_{make_log()} {
        log_sensor_start(log_.get(), display_name);
    }

    /// Sends a result to the host.
    void send(const libzunohelper::sensor_scan_result& result) const {
        message_service_->send(result);
    }

    /// The kind's own work: fills one scan result and sends it.
    virtual void execute_sensor_scan() = 0;

    [[nodiscard]] const Settings& settings() const noexcept { return settings_; }
    [[nodiscard]] libzunohelper::service_container& container() const noexcept {
        return *container_;
    }

    /// The sensor's log; may be null. Its lines are put together with liblog::write.
    [[nodiscard]] const std::shared_ptr<liblog::log_interface>& sensor_log() const noexcept {
        return log_;
    }

  private:
    [[nodiscard]] std::shared_ptr<liblog::log_interface> make_log() const {
        const auto provider = container_->find<libzunohelper::sensor_log_provider_interface>();
        return provider ? provider->create(id_, settings_.connection.common.logging) : nullptr;
    }

    std::int32_t id_;
    Settings settings_;
    std::shared_ptr<libzunohelper::service_container> container_;
    std::shared_ptr<libzunohelper::message_service_interface> message_service_;
    std::shared_ptr<liblog::log_interface> log_;
};

} // namespace tarvik::monitoring_modules::opcua
