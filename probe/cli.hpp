#pragma once
// The commands and options of the command line, in files of their own because CLI11 takes long to
// compile.

#include "probe/command_line.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

namespace tarvik::monitoring_modules::probe {

// Each adds one command, which becomes the chosen one when the arguments hold it. It throws
// probe_error (usage) then if it makes no sense.
void add_scan(CLI::App& program, any_command& chosen);
void add_browse(CLI::App& program, any_command& chosen);
void add_endpoints(CLI::App& program, any_command& chosen);
void add_init(CLI::App& program, any_command& chosen);
void add_serve(CLI::App& program, any_command& chosen);
void add_trust(CLI::App& program, any_command& chosen);
void add_certificate(CLI::App& program, any_command& chosen);

/// Takes the host apart that was typed for a command with connection options.
/// @throws probe_error (usage) when it names no server, or contradicts other options
void complete_connection(const CLI::App& command, connection_arguments& connection);

/// @param complete makes the chosen command of what was given
/// @return what the options of a command write to; lives as long as the command
template <typename Given, typename Complete = std::identity>
[[nodiscard]] Given&
given_to(CLI::App& command, any_command& chosen, const Complete& complete = {}) {
    const auto given = std::make_shared<Given>();
    command.final_callback([given, complete, &command, &chosen] {
        if constexpr (requires { given->connection; }) {
            complete_connection(command, given->connection);
        } else {
            static_cast<void>(command);
        }
        chosen = complete(std::move(*given));
    });
    return *given;
}

/// What the help pages of all commands with settings say about them.
extern const char* const settings_help;

/// Each use of the option takes one value, so that no positional argument is taken for another one.
/// @param shape what the help page calls the value
template <typename Value>
CLI::Option*
add_option(CLI::App& command, const char* names, Value& to, const char* shape, const char* help) {
    return command.add_option(names, to, help)->type_name(shape)->allow_extra_args(false);
}

/// Lets an option or argument take these words alone; for others it names those that may be meant.
/// @param silent words that it takes, too, without telling so
[[nodiscard]] CLI::Validator
one_of(std::vector<std::string> words, const std::vector<std::string>& silent = {});

/// Where the server is, security, user, and any setting by its key.
void add_connection_options(CLI::App& command, connection_arguments& to);

/// What of them is not about where the server is.
/// @param modes of security that can be chosen
void add_access_options(
    CLI::App& command,
    connection_arguments& to,
    const std::vector<std::string>& modes = {"none", "sign", "sign_encrypt"}
);

/// Table or JSON, or what else the command offers.
CLI::Option* add_format_option(
    CLI::App& command,
    output_format& to,
    const std::vector<std::string>& formats = {"table", "json"}
);

/// Time, state of a server that is out of reach, details.
void add_plugin_options(CLI::App& command, plugin_options& to);
/// Heading of what goes with the plugin format only.
extern const char* const plugin_group;
/// @throws probe_error (usage) when one of the options is given
void refuse_given(const CLI::App& command, std::span<const char* const> options);
/// @throws probe_error (usage) when options of add_plugin_options stand there without the format,
/// or make no sense
void check_plugin_options(
    const CLI::App& command, output_format format, const plugin_options& options
);

/// Up to which level log lines are taken.
void add_level_option(CLI::App& command, std::optional<std::int32_t>& to, const char* help);
/// Which log lines are shown at once.
void add_log_options(CLI::App& command, log_arguments& to);

} // namespace tarvik::monitoring_modules::probe
