#include "opcua/sensors/certificate_sensor.hpp"

#include "common/catalogue/definitions.hpp"
#include "zunohelper/scan_result.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;
using libzunohelper::dynamic_channel;

namespace {

enum channel : std::int32_t { days_to_expiration = 0, public_key_length = 1, self_signed = 2 };

dynamic_channel make_channel(
    channel id,
    const libi18n::message_definition& name,
    std::string unit,
    double lower_warning,
    double lower_error
) {
    dynamic_channel definition{.id = id, .name = libi18n::i18n_msg{name}};
    definition.unit.text = std::move(unit);
    definition.limits =
        dynamic_channel::limit_values{.lower_warning = lower_warning, .lower_error = lower_error};
    return definition;
}

void define_channels(libzunohelper::channel_map& channels) {
    using namespace catalogue::channel;
    channels.define(make_channel(days_to_expiration, expire_in, "day(s)", 28, 7));
    // A key of exactly 1024 bits is a warning, a shorter one an error.
    channels.define(
        make_channel(public_key_length, catalogue::channel::public_key_length, "bit", 1025, 1024)
    );
    dynamic_channel flag{
        .id = self_signed, .name = libi18n::i18n_msg{catalogue::channel::self_signed}};
    flag.lookup = "self_signed_certificate";
    channels.define(std::move(flag));
}

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
    define_channels(*channels_);
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
            error.what()
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
