#pragma once

// The two checks that a host runs while its user edits connection settings.

#include "opcua/checks/check_base.hpp"

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

namespace settings {

struct connection_check : connection_only<connection_check> {};
struct endpoint_validation_check : connection_only<endpoint_validation_check> {};

} // namespace settings

/// "connection_check": can a session be opened? Answers from the live session where a sensor holds
/// one.
class connection_check final : public check_base<settings::connection_check> {
  public:
    static constexpr std::string_view name = "connection_check";

    connection_check(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> container
    )
        : check_base{id, data, std::move(container), name} {}

  private:
    [[nodiscard]] bool ask(client_interface& client) override {
        client.ensure_connected();
        return client.is_connected();
    }
};

/// "endpoint_validation_check": does the server offer an endpoint with the wanted security? Opens
/// no session.
class endpoint_validation_check final : public check_base<settings::endpoint_validation_check> {
  public:
    static constexpr std::string_view name = "endpoint_validation_check";

    endpoint_validation_check(
        std::int32_t id,
        const libzunohelper::sensor_data_wrapper& data,
        std::shared_ptr<libzunohelper::service_container> container
    )
        : check_base{id, data, std::move(container), name} {}

  private:
    [[nodiscard]] bool ask(client_interface& client) override {
        return client.has_matching_endpoint();
    }
};

} // namespace tarvik::monitoring_modules::opcua
