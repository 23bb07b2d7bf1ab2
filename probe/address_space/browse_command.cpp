#include "common/libi18n/i18n_exception.hpp"
#include "common/liblog/null_logger.hpp"
#include "opcua/client/connection.hpp"
#include "opcua/nodes/node_id.hpp"
#include "probe/address_space/node_presentation.hpp"
#include "probe/address_space/server_settings.hpp"
#include "probe/address_space/tree_walk.hpp"
#include "probe/commands.hpp"
#include "probe/kept_state.hpp"
#include "probe/state_folder.hpp"
#include "probe/wait_notice.hpp"

#include <optional>
#include <vector>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] opcua::ua_node_id parse_node(const std::string& text) {
    try {
        return opcua::parse_node_id(text);
    } catch (const libi18n::i18n_exception& error) {
        throw probe_error{exit_code::usage, error.what()};
    }
}

[[nodiscard]] walk_options walk_options_of(const browse_options& options) {
    walk_options walk{.limit = options.limit, .match = options.match};
    if (options.depth) {
        walk.depth = *options.depth;
    }
    return walk;
}

/// Takes nodes as they are found: JSON is written at once, a table when all its rows are known.
class node_display final {
  public:
    node_display(const command_context& context, const browse_options& options)
        : context_{context},
          options_{options} {}

    void take(found_node&& node) {
        if (options_.format == output_format::json) {
            context_.out.write(node_json(node));
        } else {
            nodes_.push_back(std::move(node));
        }
    }

    void write_table() const {
        const bool colours = context_.out.colours();
        context_.out.write(
            options_.match.empty() ? node_tree(nodes_, colours) : node_list(nodes_, colours)
        );
    }

    void write_notes(const walk_summary& summary) const {
        for (const std::string& note : walk_notes(summary, walk_options_of(options_))) {
            context_.terminal.line("opcua-probe: " + note);
        }
    }

  private:
    const command_context& context_;
    const browse_options& options_;
    std::vector<found_node> nodes_; // of a table
};

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
    const auto stop = [&context] { return context.interrupt.requested(); };
    // Lines of JSON come at once, a notice would get between them.
    std::optional<wait_notice> notice{
        std::in_place, context.terminal, waiting_for(options.connection)};
    node_requests requests{opcua::stack_browse_services(connection.ensure()), stop};
    requests.learn_limits();
    if (options.format == output_format::json) {
        notice.reset();
    }
    node_display display{context, options};
    tree_walk nodes{
        requests,
        walk_options_of(options),
        [&display](found_node&& node) { display.take(std::move(node)); },
        stop};
    try {
        nodes.run(read_first_node(requests, std::move(first)));
    } catch (const libi18n::i18n_exception&) {
        notice.reset();
        display.write_table();
        throw;
    }
    notice.reset();
    display.write_table();
    display.write_notes(nodes.summary());
}

} // namespace

exit_code run_browse(const command_context& context, const browse_options& options) {
    opcua::ua_node_id first = parse_node(options.node);
    const opcua::client_settings server =
        server_settings(options.connection, options.timeout, context.terminal);
    // Without the module, but with the module's client, and so with the same key pair.
    const kept_state store{&ZunoSetStore, state_folder_path(), [](const std::string&) {}};
    try {
        walk(context, options, server, std::move(first));
    } catch (const libi18n::i18n_exception& error) {
        throw probe_error{exit_code::error, error.what()};
    }
    return exit_code::ok;
}

} // namespace tarvik::monitoring_modules::probe
