#include "zunohelper/runtime_log.hpp"

#include "log_sink.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

class runtime_log final : public liblog::log_interface {
  public:
    void log(liblog::severity level, std::string_view text) override {
        log_sink::write("runtime", level, text);
    }

    [[nodiscard]] liblog::severity threshold() const noexcept override {
        return log_sink::threshold();
    }
};

class sensor_log final : public liblog::log_interface {
  public:
    sensor_log(std::int32_t sensor_id, bool enabled)
        : source_{"sensor " + std::to_string(sensor_id)},
          enabled_{enabled} {}

    void log(liblog::severity level, std::string_view text) override {
        if (enabled_ || level <= liblog::severity::error) {
            log_sink::write(source_, level, text);
        }
    }

    [[nodiscard]] liblog::severity threshold() const noexcept override {
        return std::min(
            log_sink::threshold(), enabled_ ? liblog::severity::debug : liblog::severity::error
        );
    }

  private:
    const std::string source_;
    const bool enabled_;
};

class sensor_log_provider final : public sensor_log_provider_interface {
  public:
    [[nodiscard]] std::shared_ptr<liblog::log_interface>
    create(std::int32_t sensor_id, bool logging_enabled) override {
        return std::make_shared<sensor_log>(sensor_id, logging_enabled);
    }
};

} // namespace

void register_runtime_log(const std::shared_ptr<service_container>& container) {
    container->register_instance<liblog::log_interface>(std::make_shared<runtime_log>());
}

void register_sensor_log(const std::shared_ptr<service_container>& container) {
    container->register_instance<sensor_log_provider_interface>(
        std::make_shared<sensor_log_provider>()
    );
}

} // namespace tarvik::monitoring_modules::libzunohelper
