#pragma once

// The base of a module: its link to the host, its services and its sensors.

#include "zunohelper/export.hpp"
#include "zunohelper/sensor_dispatcher.hpp"
#include "zunohelper/service_container.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

/// The host's function for messages: the host's own context, the bytes, their count. The bytes are
/// valid only during the call.
using probe_callback = void (*)(std::uint64_t, const std::uint8_t*, std::uint32_t);

class ZUNOHELPER_API module_instance {
  public:
    /// Creates the service container and the dispatcher, and registers the message service, whose
    /// messages go to the callback.
    /// @param context handed back with each message, never interpreted.
    /// @param callback called on the threads on which the host calls the module, several at once.
    /// @throws std::invalid_argument for a null callback.
    module_instance(std::uint64_t context, probe_callback callback);
    module_instance(const module_instance&) = delete;
    module_instance& operator=(const module_instance&) = delete;

    /// Destroys the sensors, then the services.
    virtual ~module_instance();

    /// @return the module information document: a JSON object in UTF-8.
    [[nodiscard]] virtual std::string get_module_information() const = 0;

    [[nodiscard]] std::uint64_t context() const noexcept { return context_; }

    /// @return never null.
    [[nodiscard]] const std::shared_ptr<libzunohelper::service_container>&
    service_container() const noexcept {
        return container_;
    }

    /// @return never null.
    [[nodiscard]] const std::shared_ptr<sensor_dispatcher>& dispatcher() const noexcept {
        return dispatcher_;
    }

  private:
    std::uint64_t context_;
    std::shared_ptr<libzunohelper::service_container> container_;
    std::shared_ptr<sensor_dispatcher> dispatcher_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
