#include "opcua/sensors/certificate_sensor.hpp"

#include "common/catalogue/definitions.hpp"
#include "zunohelper/scan_result.hpp"

#include <array>
#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

enum channel : std::int32_t { days_to_expiration = 0, public_key_length = 1, self_signed = 2 };

constexpr std::array<fixed_channel, 3> certificate_channels{{
    {.id = days_to_expiration,
     .name = catalogue::channel::expire_in,
     .unit_text = "day(s)",
     .lower_warning = 28,
     .lower_error = 7},
    // A key of exactly 1024 bits is a warning, a shorter one an error.
    {.id = public_key_length,
     .name = catalogue::channel::public_key_length,
     .unit_text = "bit",
     .lower_warning = 1025,
     .lower_error = 1024},
    {.id = self_signed,
     .name = catalogue::channel::self_signed,
     .lookup = "self_signed_certificate"},
}};

} // namespace

certificate_sensor::certificate_sensor(
    std::int32_t id,
    const libzunohelper::sensor_data_wrapper& data,
    std::shared_ptr<libzunohelper::service_container> services
)
    : sensor_base{id, data, std::move(services), display_name},
      client_{create_client()},
      channels_{std::make_shared<libzunohelper::channel_map>()} {
    log("Client creation successful.");
    define_channels(*channels_, certificate_channels);
}

std::vector<fixed_channel> certificate_sensor::all_channels() {
    return {certificate_channels.begin(), certificate_channels.end()};
}

shared_client certificate_sensor::create_client() const {
    log("Create OPC-UA client.");
    try {
        return shared_client{container(), settings().connection, sensor_log()};
    } catch (const std::exception& error) {
        liblog::write(
            sensor_log().get(),
            severity::error,
            "Exception during creation of OPC-UA client: ",
            libexception::text_of(error)
        );
        throw;
    }
}

void certificate_sensor::execute_sensor_scan() {
    log("Begin reading nodes.");
    const server_certificate_summary certificate = client_->get_server_certificate();
    libzunohelper::sensor_scan_result result{id(), channels_};
    result.set_value(days_to_expiration, std::int64_t{certificate.days_to_expiration});
    result.set_value(public_key_length, std::int64_t{certificate.public_key_length});
    result.set_value(self_signed, std::int64_t{certificate.self_signed ? 1 : 0});
    result.set_message(libi18n::i18n_msg{
        catalogue::message::certificate_ok, certificate.common_name, certificate.thumbprint});
    liblog::write(
        sensor_log().get(), severity::debug, "Response Message is: ", result.message().text()
    );
    send(result);
}

} // namespace tarvik::monitoring_modules::opcua
