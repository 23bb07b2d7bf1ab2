#include "explorer/commands.hpp"

#include "common/libi18n/i18n_exception.hpp"
#include "explorer/channels.hpp"
#include "explorer/config_text.hpp"
#include "explorer/endpoints.hpp"
#include "explorer/node_presentation.hpp"
#include "explorer/planned_config.hpp"
#include "explorer/server_access.hpp"
#include "explorer/tree_walk.hpp"
#include "host/kept_state.hpp"
#include "host/probe_error.hpp"
#include "text/words.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Writes JSON as nodes are found, all else when they are known.
class node_writer final {
  public:
    node_writer(const command_context& context, const browse_options& options)
        : context_{context},
          options_{options},
          notice_{std::in_place, context.terminal, waiting_for(options.connection)} {}

    void take(found_node&& node) {
        if (options_.format == output_format::json) {
            notice_.reset(); // it would get between the lines
            context_.out.write(node_json(node));
        } else {
            nodes_.push_back(std::move(node));
        }
    }

    void finish() {
        notice_.reset();
        if (options_.format == output_format::config) {
            write_config();
        } else {
            write_table();
        }
    }

  private:
    void tell(const std::string& text) const { context_.terminal.line("opcua-probe: " + text); }

    void write_table() const {
        const node_order order = options_.walk.match.empty() ? node_order::tree : node_order::list;
        const bool colours = context_.out.colours();
        const std::string text = node_table(nodes_, order, colours, context_.out.table_width());
        context_.out.write(text);
        if (text != node_table(nodes_, order, colours)) {
            tell("Lines are cut to the terminal's width; \"| cat\" shows them whole");
        }
    }

    void write_config() const {
        const channel_choice choice = choose_channels(nodes_, most_chosen);
        if (choice.channels.empty()) {
            tell("No node can be read as a number");
            return;
        }
        config_plan plan;
        const planned_access access = access_of(options_.connection);
        plan.pki = pki_of(options_.connection);
        plan.comments.push_back(
            access.address + ": " + std::to_string(choice.channels.size()) +
            " channels of opcua-probe browse, for opcua-probe serve"
        );
        plan.add_values(access, choice.channels);
        context_.out.write(config_text(plan));
        for (const std::string& note : choice_notes(choice)) {
            tell(note);
        }
    }

    const command_context& context_;
    const browse_options& options_;
    std::optional<wait_notice> notice_;
    std::vector<found_node> nodes_;
};

void walk(
    const command_context& context,
    const browse_options& options,
    const opcua::client_settings& server,
    opcua::ua_node_id first
) {
    node_writer writer{context, options};
    server_session session{server, [&context] { return context.interrupt.requested(); }};
    tree_walk nodes{session.requests(), options.walk, [&writer](found_node&& node) {
                        writer.take(std::move(node));
                    }};
    try {
        nodes.run(std::move(first));
    } catch (const libi18n::i18n_exception&) {
        writer.finish();
        throw;
    }
    writer.finish();
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
