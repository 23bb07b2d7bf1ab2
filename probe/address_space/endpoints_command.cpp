#include "common/catalogue/opcua_exceptions.hpp"
#include "common/liblog/null_logger.hpp"
#include "opcua/client/client_configuration.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/status_text.hpp"
#include "probe/address_space/endpoint_presentation.hpp"
#include "probe/address_space/server_settings.hpp"
#include "probe/commands.hpp"
#include "probe/wait_notice.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

/// @throws opcua_discovery_failed, opcua_request_failed
[[nodiscard]] opcua::ua_get_endpoints_response fetch(const opcua::client_settings& server) {
    liblog::null_logger log;
    opcua::ua_client client{log};
    const std::chrono::milliseconds time_out = opcua::time_out_of(server);
    client.config().timeout = static_cast<UA_UInt32>(time_out.count());
    opcua::ua_get_endpoints_response response =
        opcua::fetch_endpoints(client, opcua::endpoint_url(server), time_out);
    if (const UA_StatusCode status = response->responseHeader.serviceResult;
        status != UA_STATUSCODE_GOOD) {
        throw opcua::exceptions::opcua_discovery_failed{opcua::status_name(status)};
    }
    return response;
}

[[nodiscard]] opcua::ua_get_endpoints_response
fetch(const command_context& context, const endpoints_options& options) {
    const opcua::client_settings server =
        server_settings(options.connection, options.timeout, context.terminal);
    const wait_notice notice{context.terminal, waiting_for(options.connection)};
    try {
        return fetch(server);
    } catch (const libi18n::i18n_exception& error) {
        throw probe_error{exit_code::error, error.what()};
    }
}

} // namespace

exit_code run_endpoints(const command_context& context, const endpoints_options& options) {
    const opcua::ua_get_endpoints_response response = fetch(context, options);
    const auto now = std::chrono::system_clock::now();
    const auto certificates = libcertificatehelper::create_openssl_allocator();
    const offer shown = read_offer(
        opcua::elements(response->endpoints, response->endpointsSize), *certificates, now
    );
    context.out.write(
        options.format == output_format::json ? offer_json(shown, now)
                                              : offer_text(shown, now, context.out.colours())
    );
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
