#include "opcua/client/client_cache.hpp"

#include <exception>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

std::shared_ptr<client_interface> get_opcua_client(
    libzunohelper::service_container& container,
    const client_settings& settings,
    liblog::log_interface* log
) {
    try {
        liblog::write(log, severity::debug, "Create OPC-UA client.");
        auto client = container.get_or_create<client_interface>(settings);
        liblog::write(
            log,
            severity::debug,
            "Client creation successful: ",
            endpoint_url(client->get_settings()),
            " References: ",
            client.use_count()
        );
        return client;
    } catch (const std::exception& error) {
        liblog::write(
            log, severity::error, "Exception in get_opcua_client: ", libexception::text_of(error)
        );
        throw;
    }
}

} // namespace tarvik::monitoring_modules::opcua
