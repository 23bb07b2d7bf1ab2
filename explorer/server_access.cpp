#include "explorer/server_access.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "common/libexception/exception.hpp"
#include "host/hint.hpp"
#include "host/probe_error.hpp"
#include "host/settings_form.hpp"
#include "host/status_name.hpp"
#include "libzunohelper/include/zunohelper/event_observer.h"
#include "opcua/client/client_configuration.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/status_text.hpp"

#include <utility>

namespace tarvik::monitoring_modules::probe {

client_judge::client_judge(const connection_arguments& arguments, console& terminal)
    : judge_{
          &ZunoSetServerTrust,
          pki_folder{pki_path(arguments.pki)},
          [&terminal](const std::string& text) { terminal.line("opcua-probe: " + text); }},
      call_{{arguments.any_certificate, arguments.plain_password}} {
    const auto take = [](void*, std::int32_t event, const char* text, std::uint32_t length) {
        if (event == ZUNO_EVENT_SERVER_URI) {
            note_server_uri({text, length});
        }
    };
    ZunoSetEventObserver(take, nullptr);
}

client_judge::~client_judge() {
    ZunoSetEventObserver(nullptr, nullptr);
}

settings given_settings(const connection_arguments& arguments, const warning_receiver& warn) {
    settings values = connection_settings(arguments, warn);
    settings_form::of_connection().add(values, read_given(arguments), warn);
    return values;
}

opcua::client_settings server_settings(
    const connection_arguments& arguments,
    std::uint32_t timeout,
    use_of_connection use,
    console& terminal
) {
    settings values = given_settings(arguments, terminal.writer());
    if (use == use_of_connection::session) {
        add_own_certificate(values, pki_folder{pki_path(arguments.pki)});
    }
    libzunohelper::settings_reader::texts texts;
    for (const auto& [key, text] : values) {
        texts.emplace(key, libzunohelper::secure_string{text});
    }
    try {
        const libzunohelper::settings_reader reader{std::move(texts)};
        opcua::client_settings result{opcua::settings::parse_connection(reader)};
        result.timeout_s = timeout;
        return result;
    } catch (const libexception::exception& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
}

void fail(
    const libi18n::i18n_exception& error, const std::string& language, const std::string& refusal
) {
    const std::string& identity = error.message().identity();
    const std::string hint = refusal.empty() ? hint_for(identity, language) : "";
    throw probe_error{
        exit_code::error, with_status_names(error.text()), labelled_hint(hint, language)};
}

opcua::ua_get_endpoints_response fetch_endpoints(
    const opcua::client_settings& server,
    const connection_arguments& arguments,
    console& terminal,
    const std::string& language
) {
    liblog::null_logger log;
    opcua::ua_client client{log};
    const std::chrono::milliseconds time_out = opcua::time_out_of(server);
    client.config().timeout = static_cast<UA_UInt32>(time_out.count());
    try {
        const wait_notice notice{terminal, waiting_for(arguments)};
        auto response = opcua::fetch_endpoints(client, opcua::endpoint_url(server), time_out);
        if (const UA_StatusCode status = response->responseHeader.serviceResult;
            status != UA_STATUSCODE_GOOD) {
            throw opcua::exceptions::opcua_discovery_failed{opcua::status_name(status)};
        }
        return response;
    } catch (const libi18n::i18n_exception& error) {
        fail(error, language, "");
    }
}

opcua::ua_node_id parse_node(const std::string& text) {
    try {
        return opcua::parse_node_id(text);
    } catch (const libi18n::i18n_exception& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
}

server_session::server_session(const opcua::client_settings& server, std::function<bool()> stop)
    : certificates_{libcertificatehelper::create_openssl_allocator()},
      connection_{server, *certificates_, unfinished_, log_},
      requests_{opcua::stack_browse_services(connection_.ensure()), std::move(stop)} {}

} // namespace tarvik::monitoring_modules::probe
