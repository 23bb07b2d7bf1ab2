#include "explorer/init_command.hpp"

#include "common/libi18n/i18n_exception.hpp"
#include "explorer/channels.hpp"
#include "explorer/config_text.hpp"
#include "explorer/mode_choice.hpp"
#include "explorer/new_file.hpp"
#include "explorer/planned_config.hpp"
#include "explorer/server_access.hpp"
#include "explorer/tree_walk.hpp"
#include "host/hint.hpp"
#include "host/kept_state.hpp"
#include "host/probe_error.hpp"
#include "host/status_name.hpp"
#include "trust/pki_folder.hpp"
#include "trust/server_judge.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

/// @return the connection to a server as a person names it
[[nodiscard]] connection_arguments
connection_to(const std::string& server, const connection_arguments& access) {
    connection_arguments connection = access;
    connection.host = server;
    take_host_apart(connection, false);
    return connection;
}

class configuration_maker final {
  public:
    configuration_maker(const command_context& context, const init_options& options)
        : context_{context},
          options_{options},
          judge_{options.access, context.terminal} {
        plan_.pki = pki_of(options.access);
        const settings given = given_settings(options.access, [](const std::string&) {});
        has_certificate_ = given.contains(keys::certificate) ||
                           pki_folder{pki_path(options.access.pki)}.own().has_value();
    }

    /// @return whether all that is to be known about the server was
    [[nodiscard]] bool take(const connection_arguments& server) {
        try {
            return ask(server);
        } catch (const probe_error& error) {
            if (error.code() == exit_code::usage) {
                throw; // which no other server would make better
            }
            leave_out(server, error.what(), error.hint());
        } catch (const libi18n::i18n_exception& error) {
            leave_out(server, with_status_names(error.text()), hint_about(error));
        }
        return false;
    }

    [[nodiscard]] const config_plan& plan() const noexcept { return plan_; }

  private:
    void tell(const connection_arguments& server, const std::string& text) const {
        context_.terminal.line("opcua-probe: " + address_of(server) + ": " + text);
    }

    [[nodiscard]] std::string hint_about(const libi18n::i18n_exception& error) const {
        const std::string& language = context_.language;
        return labelled_hint(hint_for(error.message().identity(), language), language);
    }

    /// @param hint what to do, with its label; empty: nothing that the reason does not say
    void
    leave_out(const connection_arguments& server, const std::string& why, const std::string& hint) {
        plan_.comments.push_back("Not in here: " + address_of(server) + ": " + why);
        tell(server, "Left out: " + why);
        if (!hint.empty()) {
            context_.terminal.line("opcua-probe: " + hint);
        }
        tell_refusal();
    }

    void tell_refusal() {
        if (const std::string refusal = judge_.take_refusal(); !refusal.empty()) {
            context_.terminal.line("opcua-probe: " + refusal);
        }
    }

    [[nodiscard]] bool ask(connection_arguments server) {
        const mode_choice choice = choose(server);
        if (choice.mode.empty()) {
            leave_out(server, choice.problem, "");
            tell_better(server, choice);
            return false;
        }
        server.security_mode = choice.mode;
        const planned_access access = access_of(server);
        const config_plan before = plan_;
        plan_.add_sensor(access, "server_status_sensor", "status", "1m");
        if (choice.has_certificate) {
            plan_.add_sensor(access, "certificate_sensor", "certificate", "12h");
        }
        try {
            add_values(server, access);
        } catch (const libi18n::i18n_exception& error) {
            return handle_refusal(server, choice, before, error);
        }
        tell_better(server, choice);
        return true;
    }

    [[nodiscard]] mode_choice choose(const connection_arguments& server) {
        connection_arguments open = server;
        open.security_mode = "none"; // in which any server tells what it offers
        const auto response = fetch_endpoints(
            server_settings(
                open, options_.timeout, use_of_connection::endpoints, context_.terminal
            ),
            open,
            context_.terminal
        );
        return choose_mode(
            opcua::elements(response->endpoints, response->endpointsSize),
            {server.security_mode, !server.user.empty(), has_certificate_}
        );
    }

    /// Where certificates are to be accepted yet, on either side, no user and no password has been
    /// sent: the sensors stay, and work as soon as that is done. Other refusals would come again
    /// with each scan, and may lock a user out.
    [[nodiscard]] bool handle_refusal(
        const connection_arguments& server,
        const mode_choice& choice,
        const config_plan& before,
        const libi18n::i18n_exception& error
    ) {
        const std::string why = with_status_names(error.text());
        const std::string refusal = judge_.take_refusal();
        if (refusal.empty() || choice.mode == "none") {
            plan_ = before;
            leave_out(server, why, hint_about(error));
            if (choice.mode != "none") {
                tell(
                    server,
                    "If it does not trust this client yet: opcua-probe certificate export FILE, "
                    "and "
                    "have it trust that file"
                );
            }
        } else {
            tell(server, "No values, because its certificate is not accepted yet: " + why);
            context_.terminal.line("opcua-probe: " + refusal);
            plan_.comments.push_back(
                "No values of " + address_of(server) +
                " yet: accept its certificate, then run init again"
            );
        }
        return false;
    }

    void tell_better(const connection_arguments& server, const mode_choice& choice) const {
        if (!choice.better.empty()) {
            tell(
                server,
                (choice.mode.empty() ? "For " : "Read without security, although it offers ") +
                    choice.better + ": opcua-probe certificate create, have the server trust it, " +
                    "opcua-probe trust accept " + address_of(server) + ", then run init again"
            );
        }
    }

    void add_values(const connection_arguments& server, const planned_access& access) {
        const channel_choice choice = find_values(server);
        plan_.add_values(access, choice.channels);
        tell(
            server,
            "security " + server.security_mode + ", " + std::to_string(choice.channels.size()) +
                " values"
        );
        for (const std::string& note : choice_notes(choice)) {
            tell(server, note);
        }
        if (choice.more) {
            tell(server, "opcua-probe browse --format config, --node and --values choose others");
        }
    }

    /// Ends as soon as there are enough, so that a large server is not walked through.
    [[nodiscard]] channel_choice find_values(const connection_arguments& server) {
        const opcua::client_settings settings = server_settings(
            server, options_.timeout, use_of_connection::session, context_.terminal
        );
        const wait_notice notice{context_.terminal, waiting_for(server)};
        std::vector<found_node> found;
        const auto is_enough = [&] { return found.size() > options_.values; };
        server_session session{
            settings, [&] { return context_.interrupt.requested() || is_enough(); }};
        const std::vector<std::string> everywhere{"i=85"};
        for (const std::string& start : options_.nodes.empty() ? everywhere : options_.nodes) {
            tree_walk walk{session.requests(), {}, [&found](found_node&& node) {
                               const bool is_new =
                                   std::ranges::none_of(found, [&](const auto& each) {
                                       return each.node_id == node.node_id;
                                   });
                               if (gives_channels(node) && is_new) {
                                   found.push_back(std::move(node));
                               }
                           }};
            walk.run(parse_node(start));
        }
        return choose_channels(found, options_.values);
    }

    const command_context& context_;
    const init_options& options_;
    client_judge judge_;
    bool has_certificate_ = false;
    config_plan plan_;
};

/// @return the servers, each once
[[nodiscard]] std::vector<connection_arguments> servers_of(const init_options& options) {
    std::vector<connection_arguments> servers;
    for (const std::string& named : options.servers) {
        connection_arguments server = connection_to(named, options.access);
        const bool is_new = std::ranges::none_of(servers, [&server](const auto& each) {
            return address_of(each) == address_of(server) && each.path == server.path;
        });
        if (is_new) {
            servers.push_back(std::move(server));
        }
    }
    return servers;
}

void write(const command_context& context, const init_options& options, const config_plan& plan) {
    const std::string text = config_text(plan);
    if (options.output.empty()) {
        context.out.write(text);
        return;
    }
    write_new_file(options.output, text, options.force);
    context.terminal.line(
        "opcua-probe: Written: " + options.output + ", " + std::to_string(plan.sensors.size()) +
        " sensors. Next: opcua-probe serve --config " + options.output
    );
}

} // namespace

exit_code run(const command_context& context, const init_options& options) {
    for (const std::string& node : options.nodes) {
        static_cast<void>(parse_node(node));
    }
    if (!options.output.empty()) {
        require_new_file(options.output, options.force);
    }
    const std::vector<connection_arguments> servers = servers_of(options);
    const kept_state store{&ZunoSetStore, state_folder_path(), [](const std::string&) {}};
    configuration_maker maker{context, options};
    exit_code code = exit_code::ok;
    for (const connection_arguments& server : servers) {
        if (!maker.take(server)) {
            code = exit_code::error;
        }
        if (context.interrupt.requested()) {
            throw probe_error{exit_code::error, "Interrupted: nothing was written"};
        }
    }
    if (maker.plan().sensors.empty()) {
        throw probe_error{exit_code::error, "There is no sensor to write"};
    }
    config_plan plan = maker.plan();
    plan.comments.insert(
        plan.comments.begin(),
        {"Made by opcua-probe init, for opcua-probe serve.",
         "The page is at port 9840 of this machine; where the installed service has it, at "
         "another:",
         "listen: {port: 9841}"}
    );
    write(context, options, plan);
    return code;
}

} // namespace tarvik::monitoring_modules::probe
