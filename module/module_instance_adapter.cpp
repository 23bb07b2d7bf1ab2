#include "module/module_instance_adapter.hpp"

#include "zunohelper/message_service.hpp"
#include "zunohelper/runtime_log.hpp"

#include <exception>
#include <stdexcept>
#include <utility>

namespace tarvik::monitoring_modules {

using liblog::severity;
using libzunohelper::module_information_message;
using libzunohelper::sensor_data_wrapper;

namespace {

std::string_view yes_or_no(bool flag) {
    return flag ? "Yes" : "No";
}

} // namespace

module_instance_adapter::module_instance_adapter(
    std::unique_ptr<libzunohelper::module_instance> module
)
    : module_{std::move(module)} {
    if (!module_) {
        throw std::invalid_argument{"module_instance_adapter: module_instance must not be null"};
    }
    libzunohelper::register_runtime_log(module_->service_container());
    libzunohelper::register_sensor_log(module_->service_container());
}

std::shared_ptr<liblog::log_interface> module_instance_adapter::current_log() const {
    return module_->service_container()->find<liblog::log_interface>();
}

void module_instance_adapter::log(std::string_view text) const {
    liblog::write(current_log().get(), severity::debug, text);
}

void module_instance_adapter::log_error(std::string_view text) const {
    liblog::write(current_log().get(), severity::error, text);
}

/// Runs the work between its two lines. When it throws, the end line is not written.
template <typename Work>
auto module_instance_adapter::operation(std::string_view name, const Work& work) const {
    const auto log = current_log();
    liblog::write(log.get(), severity::debug, "### Begin ", name, " ###");
    auto outcome = work();
    liblog::write(log.get(), severity::debug, "### End   ", name, " ###");
    return outcome;
}

void module_instance_adapter::log_settings(const sensor_data_wrapper& data) const {
    if (const auto log = current_log(); liblog::takes(log.get(), severity::debug)) {
        log->log(severity::debug, data.to_json());
    }
}

void module_instance_adapter::get_module_information(bool load_languages) const {
    operation("get_module_information", [&] {
        liblog::write(
            current_log().get(), severity::debug, "Do loadLanguages: ", yes_or_no(load_languages)
        );
        module_->service_container()->get<libzunohelper::message_service_interface>()->send(
            information(load_languages)
        );
        return true;
    });
}

std::string_view module_instance_adapter::get_module_information_as_bytes(bool include_texts
) const {
    return operation("get_module_information_as_bytes", [&] {
        liblog::write(
            current_log().get(), severity::debug, "Include texts: ", yes_or_no(include_texts)
        );
        return std::string_view{information(include_texts).bytes()};
    });
}

const module_information_message& module_instance_adapter::information(bool texts) const {
    lazy_message& form = texts ? with_texts_ : without_texts_;
    // Not std::call_once: what is thrown there, such as for want of memory, ends the process.
    const std::lock_guard lock{form.making};
    if (!form.message) {
        form.message = std::make_unique<const module_information_message>(
            module_->get_module_information(), texts
        );
    }
    return *form.message;
}

sensor_data_wrapper
module_instance_adapter::read_record(const std::uint8_t* bytes, std::uint32_t size) const {
    try {
        return sensor_data_wrapper{bytes, size};
    } catch (const std::exception& error) {
        liblog::write(current_log().get(), severity::error, libexception::text_of(error));
        throw;
    }
}

sensor_data_wrapper module_instance_adapter::read_sensor_data(
    std::int32_t id, const std::uint8_t* bytes, std::uint32_t size
) const {
    try {
        return sensor_data_wrapper{bytes, size};
    } catch (const std::exception& error) {
        module_->dispatcher()->report_creation_failure(id, error);
        throw;
    }
}

std::int32_t module_instance_adapter::create_sensor_instance(
    std::int32_t id, const std::uint8_t* bytes, std::uint32_t size
) const {
    return operation("create_sensor_instance", [&] {
        const sensor_data_wrapper data = read_sensor_data(id, bytes, size);
        log_settings(data);
        return module_->dispatcher()->create_sensor_instance(id, data);
    });
}

std::int32_t module_instance_adapter::execute_sensor_scan(std::int32_t id) const {
    return operation("execute_sensor_scan", [&] {
        return module_->dispatcher()->execute_sensor_scan(id);
    });
}

std::int32_t module_instance_adapter::destroy_sensor_instance(std::int32_t id) const {
    return operation("destroy_sensor_instance", [&] {
        return module_->dispatcher()->destroy_sensor_instance(id);
    });
}

std::int32_t module_instance_adapter::execute_meta_scan(
    std::int32_t id, std::uint32_t kind, const std::uint8_t* bytes, std::uint32_t size
) const {
    return operation("execute_meta_scan", [&] {
        const sensor_data_wrapper data = read_record(bytes, size);
        log_settings(data);
        return module_->dispatcher()->execute_meta_scan(id, kind, data);
    });
}

std::int32_t module_instance_adapter::execute_check(
    std::int32_t id, const std::uint8_t* bytes, std::uint32_t size
) const {
    return operation("execute_check", [&] {
        const sensor_data_wrapper data = read_record(bytes, size);
        log_settings(data);
        return module_->dispatcher()->execute_check(id, data);
    });
}

} // namespace tarvik::monitoring_modules
