#include "explorer/commands.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "common/libexception/exception.hpp"
#include "common/libi18n/i18n_exception.hpp"
#include "common/liblog/null_logger.hpp"
#include "explorer/endpoints.hpp"
#include "explorer/node_presentation.hpp"
#include "explorer/tree_walk.hpp"
#include "host/connection_arguments.hpp"
#include "host/hint.hpp"
#include "host/kept_state.hpp"
#include "host/probe_error.hpp"
#include "host/settings_form.hpp"
#include "host/status_name.hpp"
#include "host/translation.hpp"
#include "libzunohelper/include/zunohelper/event_observer.h"
#include "opcua/client/client_configuration.hpp"
#include "opcua/client/connection.hpp"
#include "opcua/client/endpoint_list.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/status_text.hpp"
#include "terminal/console.hpp"
#include "text/words.hpp"
#include "trust/server_judge.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

/// The module's client asks the same judge as the module.
class client_judge final {
  public:
    client_judge(const connection_arguments& arguments, console& terminal)
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
    ~client_judge() { ZunoSetEventObserver(nullptr, nullptr); }
    client_judge(const client_judge&) = delete;
    client_judge& operator=(const client_judge&) = delete;

    [[nodiscard]] std::string take_refusal() { return call_.take_refusal(); }

  private:
    server_judge judge_;
    judged_call call_;
};

/// A session of a secured connection needs a certificate.
enum class use_of_connection { session, endpoints };

/// Reads files with secrets, and takes single settings by their keys as scan does, as far as they
/// are about the connection.
/// @param timeout seconds, for connecting and for each request
/// @param terminal gets a warning for each secret in a file that everybody can read
/// @throws probe_error (usage) for settings that are unknown or hold what they may not hold
[[nodiscard]] opcua::client_settings server_settings(
    const connection_arguments& arguments,
    std::uint32_t timeout,
    use_of_connection use,
    console& terminal
) {
    settings values = connection_settings(arguments, terminal.writer());
    settings_form::of_connection().add(values, read_given(arguments), terminal.writer());
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

[[nodiscard]] opcua::ua_node_id parse_node(const std::string& text) {
    try {
        return opcua::parse_node_id(text);
    } catch (const libi18n::i18n_exception& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
}

/// @param refusal why this program refused the server; it has the way out itself
/// @throws probe_error (error), always
[[noreturn]] void fail(
    const libi18n::i18n_exception& error, const std::string& language, const std::string& refusal
) {
    const std::string& identity = error.message().identity();
    const std::string hint = refusal.empty() ? hint_for(identity, language) : "";
    throw probe_error{
        exit_code::error, with_status_names(error.text()), labelled_hint(hint, language)};
}

/// @param language of the hint
/// @throws probe_error (error) when the server does not answer
[[nodiscard]] opcua::ua_get_endpoints_response fetch_endpoints(
    const opcua::client_settings& server,
    const connection_arguments& arguments,
    console& terminal,
    const std::string& language = default_language
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

/// Writes JSON as nodes are found, a table when all its rows are known.
void walk(
    const command_context& context,
    const browse_options& options,
    const opcua::client_settings& server,
    opcua::ua_node_id first
) {
    liblog::null_logger log;
    const auto certificates = libcertificatehelper::create_openssl_allocator();
    opcua::unfinished_sessions unfinished;
    opcua::connection connection{server, *certificates, unfinished, log};
    std::optional<wait_notice> notice{
        std::in_place, context.terminal, waiting_for(options.connection)};
    node_requests requests{opcua::stack_browse_services(connection.ensure()), [&context] {
                               return context.interrupt.requested();
                           }};
    std::vector<found_node> rows;
    const auto show = [&](found_node&& node) {
        if (options.format == output_format::json) {
            notice.reset(); // it would get between the lines
            context.out.write(node_json(node));
        } else {
            rows.push_back(std::move(node));
        }
    };
    const auto write_table = [&] {
        notice.reset();
        const node_order order = options.walk.match.empty() ? node_order::tree : node_order::list;
        context.out.write(node_table(rows, order, context.out.colours()));
    };
    tree_walk nodes{requests, options.walk, show};
    try {
        nodes.run(std::move(first));
    } catch (const libi18n::i18n_exception&) {
        write_table();
        throw;
    }
    write_table();
    for (const std::string& note : walk_notes(nodes.summary(), options.walk)) {
        context.terminal.line("opcua-probe: " + note);
    }
}

} // namespace

exit_code run(const command_context& context, const browse_options& options) {
    opcua::ua_node_id first = parse_node(options.node);
    const opcua::client_settings server = server_settings(
        options.connection, options.timeout, use_of_connection::session, context.terminal
    );
    // Without the module, but with the module's client, and so with the same key pair.
    const kept_state store{&ZunoSetStore, state_folder_path(), [](const std::string&) {}};
    client_judge judge{options.connection, context.terminal};
    try {
        walk(context, options, server, std::move(first));
    } catch (const libi18n::i18n_exception& error) {
        const std::string refusal = judge.take_refusal();
        if (!refusal.empty()) {
            context.terminal.line("opcua-probe: " + refusal);
        }
        fail(error, context.language, refusal);
    }
    return exit_code::ok;
}

exit_code run(const command_context& context, const endpoints_options& options) {
    const opcua::client_settings server = server_settings(
        options.connection, options.timeout, use_of_connection::endpoints, context.terminal
    );
    const auto response =
        fetch_endpoints(server, options.connection, context.terminal, context.language);
    const auto now = std::chrono::system_clock::now();
    const auto certificates = libcertificatehelper::create_openssl_allocator();
    const offer shown = read_offer(
        opcua::elements(response->endpoints, response->endpointsSize), *certificates, now
    );
    context.out.write(
        options.format == output_format::json ? offer_json(shown)
                                              : offer_text(shown, now, context.out.colours())
    );
    return exit_code::ok;
}

std::vector<std::string> fetch_certificates(console& terminal, const named_server& server) {
    connection_arguments arguments;
    arguments.host = server.host;
    arguments.port = server.port.value_or(default_opcua_port);
    arguments.path = server.path;
    const auto response = fetch_endpoints(
        server_settings(
            arguments, endpoints_options{}.timeout, use_of_connection::endpoints, terminal
        ),
        arguments,
        terminal
    );
    std::vector<std::string> certificates;
    for (const UA_EndpointDescription& endpoint :
         opcua::elements(response->endpoints, response->endpointsSize)) {
        std::string der{opcua::view_of(endpoint.serverCertificate)};
        if (!der.empty() && !contains(certificates, der)) {
            certificates.push_back(std::move(der));
        }
    }
    return certificates;
}

} // namespace tarvik::monitoring_modules::probe
