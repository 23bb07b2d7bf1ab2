#pragma once

// The frame of every check: parsed settings, services and log, and the result that is sent whatever
// happens.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_cache.hpp"
#include "opcua/client/connection_settings.hpp"
#include "zunohelper/check_interface.hpp"
#include "zunohelper/sensor_data_wrapper.hpp"
#include "zunohelper/service_container.hpp"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

/// Writes the line of a check that starts.
/// @param log may be null.
void log_check_start(liblog::log_interface* log, std::string_view name);

/// Runs a check's question and sends its answer. An exception of the standard family is an answer
/// "no"; its text is written to the log at the severity of failed checks.
/// @param log may be null.
/// @throws what sending the result throws; and anything that is no std::exception.
void run_check(
    std::int32_t check_id,
    libzunohelper::service_container& container,
    liblog::log_interface* log,
    const std::function<bool()>& question
);

/// @tparam Settings the check's settings record: with a member `connection` and a static member
/// function `parse(const settings_reader&)`.
template <typename Settings>
class check_base : public libzunohelper::check_interface {
  public:
    void execute() final {
        run_check(id_, *container_, log_.get(), [this] {
            if (bad_settings_) {
                std::rethrow_exception(bad_settings_);
            }
            const auto client =
                get_opcua_client(*container_, client_settings{settings_->connection}, log_.get());
            return ask(*client);
        });
    }

  protected:
    /// Never fails for the settings: bad ones make the check answer "no".
    check_base(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> container,
        std::string_view name
    )
        : id_{id},
          container_{std::move(container)},
          log_{container_->find<liblog::log_interface>()} {
        log_check_start(log_.get(), name);
        try {
            settings_ = Settings::parse(data.settings());
        } catch (const std::exception&) {
            bad_settings_ = std::current_exception();
        }
    }

    /// The check's question to a server.
    [[nodiscard]] virtual bool ask(client_interface& client) = 0;

  private:
    std::int32_t id_;
    std::optional<Settings> settings_; // empty when they are bad
    std::exception_ptr bad_settings_;
    std::shared_ptr<libzunohelper::service_container> container_;
    std::shared_ptr<liblog::log_interface> log_;
};

} // namespace tarvik::monitoring_modules::opcua
