#pragma once
// The module's functions in terms of this program: owners for the module and its sensors, messages
// as results of calls.

#include "probe/module_library.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct call_result {
    std::uint32_t status = OPCUA_MODULE_DONE;
    std::vector<std::string> messages; ///< what the call delivered, in order
};

/// @return "done", "refused", "failed" or "not initialised"
[[nodiscard]] std::string status_text(std::uint32_t status);

/// The initialised module. Any threads may call it at once; calls block until the module has
/// answered.
class monitoring_module final {
  public:
    /// @param library must outlive this object
    /// @throws probe_error (call_failed) when the module cannot be initialised
    explicit monitoring_module(const module_library& library);
    ~monitoring_module();
    monitoring_module(const monitoring_module&) = delete;
    monitoring_module& operator=(const monitoring_module&) = delete;

    /// @param texts whether the texts of all languages are wanted, which takes ten times as long
    /// @return the module_information message
    /// @throws probe_error (call_failed)
    [[nodiscard]] std::string information(bool texts) const;

    // The settings are a JSON record. @throws probe_error (call_failed) when a message was lost for
    // lack of memory
    [[nodiscard]] call_result create_sensor(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result scan_sensor(std::int32_t id) const;
    [[nodiscard]] call_result check(std::int32_t id, std::string_view settings) const;
    [[nodiscard]] call_result notify(std::int32_t id, std::string_view settings) const;
    void destroy_sensor(std::int32_t id) const noexcept;

    /// Has the module get the key pair of clients whose settings bring none: from its store, or
    /// newly made, which takes up to some seconds. A failure shows when a client connects.
    void prepare() const noexcept;

  private:
    const module_functions& functions_;
    const framework_functions& framework_;
};

/// A sensor that was created; destroys it.
class sensor_owner final {
  public:
    sensor_owner(const monitoring_module& owner, std::int32_t id) noexcept
        : module_{owner},
          id_{id} {}
    ~sensor_owner() { module_.destroy_sensor(id_); }
    sensor_owner(const sensor_owner&) = delete;
    sensor_owner& operator=(const sensor_owner&) = delete;

    [[nodiscard]] call_result scan() const { return module_.scan_sensor(id_); }

  private:
    const monitoring_module& module_;
    std::int32_t id_;
};

} // namespace tarvik::monitoring_modules::probe
