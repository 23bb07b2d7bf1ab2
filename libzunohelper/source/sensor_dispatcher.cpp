#include "zunohelper/sensor_dispatcher.hpp"

#include "common/catalogue/framework_exceptions.hpp"
#include "common/liblog/log_interface.hpp"
#include "zunohelper/message_service.hpp"
#include "zunohelper/scan_result.hpp"

#include <stdexcept>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper {

using utils::exceptions::sensor_already_registered;
using utils::exceptions::sensor_not_in_sensor_stock;
using utils::exceptions::sensor_registry;

namespace {

sensor_registry kind_error(std::string_view sort, std::string_view kind, std::string_view state) {
    std::string text{"The "};
    text.append(sort).append(" kind \"").append(kind).append("\" ").append(state).push_back('.');
    return sensor_registry{text};
}

template <typename Factory>
void add_kind(
    std::map<std::string, Factory>& kinds, std::string_view sort, std::string kind, Factory make
) {
    if (!make) {
        throw std::invalid_argument{"sensor_dispatcher: a factory must not be empty"};
    }
    const auto [place, added] = kinds.try_emplace(std::move(kind), std::move(make));
    if (!added) {
        throw kind_error(sort, place->first, "is already registered");
    }
}

template <typename Factory>
std::vector<std::string> names_of(const std::map<std::string, Factory>& kinds) {
    std::vector<std::string> names;
    names.reserve(kinds.size());
    for (const auto& [name, make] : kinds) {
        names.push_back(name);
    }
    return names;
}

} // namespace

sensor_dispatcher::sensor_dispatcher(std::shared_ptr<service_container> container)
    : container_{std::move(container)} {
    if (!container_) {
        throw std::invalid_argument{"sensor_dispatcher: the service container must not be null"};
    }
}

sensor_dispatcher::~sensor_dispatcher() = default;

void sensor_dispatcher::register_sensor(std::string kind, sensor_factory make) {
    add_kind(sensor_kinds_, "sensor", std::move(kind), std::move(make));
}

void sensor_dispatcher::register_check(std::string kind, check_factory make) {
    add_kind(check_kinds_, "check", std::move(kind), std::move(make));
}

void sensor_dispatcher::register_notification(std::string kind, notification_factory make) {
    add_kind(notification_kinds_, "notification", std::move(kind), std::move(make));
}

std::vector<std::string> sensor_dispatcher::sensor_kinds() const {
    return names_of(sensor_kinds_);
}

std::vector<std::string> sensor_dispatcher::check_kinds() const {
    return names_of(check_kinds_);
}

std::int32_t
sensor_dispatcher::create_sensor_instance(std::int32_t id, const sensor_data_wrapper& data) {
    auto place = sensors_.reserve(id);
    if (!place) {
        return refuse(sensor_already_registered{std::to_string(id)});
    }
    const auto kind = sensor_kinds_.find(data.kind());
    if (kind == sensor_kinds_.end()) {
        const auto reason = kind_error("sensor", data.kind(), "is not registered");
        send_failure(id, reason);
        return refuse(reason);
    }
    // The id stays reserved until the host has been told of a failure, so that no other sensor can
    // receive that message.
    try {
        auto sensor = kind->second(id, data, container_);
        if (!sensor) {
            throw sensor_registry{"The factory of the sensor kind returned nothing."};
        }
        place->publish(std::move(sensor));
    } catch (const std::exception& reason) {
        log_error(libexception::text_of(reason));
        send_failure(id, reason);
        throw;
    }
    return done;
}

std::int32_t sensor_dispatcher::execute_sensor_scan(std::int32_t id) {
    refuse_in_callback();
    return sensors_.scan(id) ? done : refuse(sensor_not_in_sensor_stock{std::to_string(id)});
}

std::int32_t sensor_dispatcher::destroy_sensor_instance(std::int32_t id) {
    refuse_in_callback();
    return sensors_.remove(id) ? done : refuse(sensor_not_in_sensor_stock{std::to_string(id)});
}

std::int32_t sensor_dispatcher::execute_meta_scan(
    std::int32_t id, std::uint32_t kind, const sensor_data_wrapper& data
) {
    if (kind != notification_meta_scan) {
        return refuse(kind_error("meta-scan", std::to_string(kind), "is not registered"));
    }
    const auto notification = notification_kinds_.find(data.kind());
    if (notification == notification_kinds_.end()) {
        return refuse(kind_error("notification", data.kind(), "is not registered"));
    }
    const auto service = notification->second(container_);
    if (!service) {
        throw sensor_registry{"The factory of the notification kind returned nothing."};
    }
    std::exception_ptr failure;
    try {
        service->send_notification(notifications::request{data});
    } catch (...) {
        failure = std::current_exception();
    }
    service->build_response();
    container_->get<message_service_interface>()->send(notifications::response_message{
        id, service->take_response()});
    if (failure) {
        std::rethrow_exception(failure);
    }
    return done;
}

std::int32_t sensor_dispatcher::execute_check(std::int32_t id, const sensor_data_wrapper& data) {
    const auto kind = check_kinds_.find(data.kind());
    if (kind == check_kinds_.end()) {
        return refuse(kind_error("check", data.kind(), "is not registered"));
    }
    const auto check = kind->second(id, data, container_);
    if (!check) {
        throw sensor_registry{"The factory of the check kind returned nothing."};
    }
    check->execute();
    return done;
}

void sensor_dispatcher::report_creation_failure(std::int32_t id, const std::exception& reason) {
    log_error(libexception::text_of(reason));
    if (const auto place = sensors_.reserve(id)) {
        send_failure(id, reason);
    }
}

std::int32_t sensor_dispatcher::refuse(const std::exception& reason) const {
    log_error(libexception::text_of(reason));
    return refused;
}

void sensor_dispatcher::refuse_in_callback() const {
    if (message_service::is_sending()) {
        const sensor_registry reason{
            "A sensor can be neither scanned nor destroyed from inside a callback."};
        log_error(reason.what());
        throw sensor_registry{reason};
    }
}

void sensor_dispatcher::log_error(std::string_view text) const {
    liblog::write(container_->find<liblog::log_interface>().get(), liblog::severity::error, text);
}

void sensor_dispatcher::send_failure(std::int32_t id, const std::exception& reason) const {
    try {
        container_->get<message_service_interface>()->send(sensor_scan_result{id, reason});
    } catch (const std::exception& failure) {
        log_error(libexception::text_of(failure));
    }
}

} // namespace tarvik::monitoring_modules::libzunohelper
