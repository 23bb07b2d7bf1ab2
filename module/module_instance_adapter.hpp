#pragma once

// Stands between the exports and the module object: turns raw bytes into settings, calls the
// dispatcher or the message service, and frames each operation with a begin and an end line in the
// module's log.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/module_information_message.hpp"
#include "zunohelper/module_instance.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

namespace tarvik::monitoring_modules {

/// Thread-safe, but for its construction and destruction. Every operation throws what went wrong;
/// the reason is in the runtime log by then.
class module_instance_adapter {
  public:
    /// Takes the module over and installs its logs.
    /// @throws std::invalid_argument without a module.
    explicit module_instance_adapter(std::unique_ptr<libzunohelper::module_instance> module);

    /// Writes a line at debug level to the module's log, if there is one.
    void log(std::string_view text) const;

    /// The same at error level.
    void log_error(std::string_view text) const;

    /// Sends the module information through the callback.
    void get_module_information(bool load_languages) const;

    /// The same message as bytes; valid as long as this object.
    [[nodiscard]] std::string_view get_module_information_as_bytes(bool include_texts) const;

    /// @name Operations of the dispatcher
    /// @param bytes, size  the settings; see sensor_data_wrapper
    /// @return the dispatcher's status
    /// @{
    [[nodiscard]] std::int32_t
    create_sensor_instance(std::int32_t id, const std::uint8_t* bytes, std::uint32_t size) const;
    [[nodiscard]] std::int32_t execute_sensor_scan(std::int32_t id) const;
    [[nodiscard]] std::int32_t destroy_sensor_instance(std::int32_t id) const;
    [[nodiscard]] std::int32_t execute_meta_scan(
        std::int32_t id, std::uint32_t kind, const std::uint8_t* bytes, std::uint32_t size
    ) const;
    [[nodiscard]] std::int32_t
    execute_check(std::int32_t id, const std::uint8_t* bytes, std::uint32_t size) const;
    /// @}

  private:
    template <typename Work>
    auto operation(std::string_view name, const Work& work) const;

    [[nodiscard]] std::shared_ptr<liblog::log_interface> current_log() const;
    void log_settings(const libzunohelper::sensor_data_wrapper& data) const;
    [[nodiscard]] libzunohelper::sensor_data_wrapper
    read_record(const std::uint8_t* bytes, std::uint32_t size) const;
    [[nodiscard]] libzunohelper::sensor_data_wrapper
    read_sensor_data(std::int32_t id, const std::uint8_t* bytes, std::uint32_t size) const;

    /// The message, made at its first use: it never changes.
    [[nodiscard]] const libzunohelper::module_information_message& information(bool texts) const;

    struct lazy_message {
        std::mutex making;
        std::unique_ptr<const libzunohelper::module_information_message> message; // guarded by it
    };

    std::unique_ptr<libzunohelper::module_instance> module_;
    mutable lazy_message with_texts_;
    mutable lazy_message without_texts_;
};

} // namespace tarvik::monitoring_modules
