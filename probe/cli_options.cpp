#include "host/probe_error.hpp"
#include "probe/cli.hpp"
#include "text/nearest_names.hpp"
#include "text/words.hpp"

#include <utility>

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

void add_security_options(
    CLI::App& command, connection_arguments& to, const std::vector<std::string>& modes
) {
    command.add_option("--security-mode", to.security_mode, "How messages are secured")
        ->check(CLI::IsMember(modes))
        ->capture_default_str();
    constexpr const char* policy = "Default: Basic256Sha256 when messages are secured, else none";
    command.add_option("--security-policy", to.security_policy, policy)
        ->check(CLI::IsMember({"none", "Basic256Sha256"}));
    constexpr const char* certificate =
        "Client certificate, PEM; default: see opcua-probe certificate --help";
    add_option(command, "--client-certificate", to.client_certificate_file, "FILE", certificate);
    constexpr const char* key = "Private key of the client, PEM";
    add_option(command, "--client-key", to.client_key_file, "FILE", key);
    constexpr const char* password =
        "File with the key's password; else $OPCUA_CLIENT_KEY_PASSWORD";
    std::string& password_file = to.client_key_password_file;
    add_option(command, "--client-key-password-file", password_file, "FILE", password);
}

void add_trust_options(CLI::App& command, connection_arguments& to) {
    constexpr const char* pki = "Folder of certificates; default: see opcua-probe trust --help";
    add_option(command, "--pki", to.pki, "DIR", pki);
    const auto add_choice =
        [&command](
            const char* name, bool& flag, const char* usual, const char* other, const char* help
        ) {
            const auto take = [&flag, other](const std::string& text) { flag = text == other; };
            command.add_option_function<std::string>(name, take, help)
                ->check(CLI::IsMember({usual, other}))
                ->default_str(usual);
        };
    constexpr const char* trust =
        "list: only servers whose certificates are trusted; any: all servers, even an attacker's";
    add_choice("--trust", to.any_certificate, "list", "any", trust);
    constexpr const char* plain_password =
        "allow: send a password also where everybody on the wire can read it";
    add_choice("--plain-password", to.plain_password, "refuse", "allow", plain_password);
}

/// @throws probe_error (usage) when the text is no level
[[nodiscard]] std::int32_t parse_level(const std::string& text) {
    if (text.size() == 1 && text.front() >= '0' && text.front() <= '7') {
        return text.front() - '0';
    }
    const std::pair<const char*, std::int32_t> names[] = {
        {"error", 3}, {"warning", 4}, {"info", 6}, {"debug", 7}};
    for (const auto& [name, level] : names) {
        if (text == name) {
            return level;
        }
    }
    throw probe_error{
        exit_code::usage, "--log-level " + text + ": none of error, warning, info, debug, 0 to 7"};
}

} // namespace

const char* const settings_help = R"(
Settings:
  --set security_mode=sign                       any setting; opcua-probe info lists them
  --set credentials.connection_opcua.port=4841   by its full key
  --set-file password=pw.txt                     from a file of at most 1 MiB; secrets must come so, and win over --set
Options such as --port are short for settings; --set replaces what they say. Settings are checked before anything is
sent: unknown keys, values that are not allowed and required settings that are missing end with exit code 64.)";

CLI::Validator one_of(std::vector<std::string> words, const std::vector<std::string>& silent) {
    const std::string shown = "{" + joined(words, ",") + "}";
    const auto problem = [words = std::move(words), silent](const std::string& text) {
        return contains(words, text) || contains(silent, text)
                   ? std::string{}
                   : text + ": none of " + joined(words) + did_you_mean(nearest_names(text, words));
    };
    return CLI::Validator{problem, shown};
}

void complete_connection(const CLI::App& command, connection_arguments& connection) {
    take_host_apart(connection, command.get_option("--port")->count() != 0);
}

void add_connection_options(CLI::App& command, connection_arguments& to) {
    constexpr const char* server =
        "The server: name or address, with port if need be, or opc.tcp://HOST:PORT/PATH";
    add_option(command, "-H,--host", to.host, "HOST", server)->required();
    command.add_option("-p,--port", to.port, "Port of the server")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    add_option(command, "--path", to.path, "URLPATH", "Path of the server, if it has one");
    add_access_options(command, to);
}

void add_access_options(
    CLI::App& command, connection_arguments& to, const std::vector<std::string>& modes
) {
    CLI::Option* const user =
        add_option(command, "--user", to.user, "USER", "User name; default: anonymous");
    constexpr const char* password = "File with the password; else $OPCUA_PASSWORD";
    add_option(command, "--password-file", to.password_file, "FILE", password)->needs(user);
    add_security_options(command, to, modes);
    add_trust_options(command, to);
    constexpr const char* any =
        "Any setting of the module (no secrets); KEY may be shortened to its unique end";
    add_option(command, "--set", to.raw, "KEY=VALUE", any);
    constexpr const char* from_file = "The same from a file, secrets, too";
    add_option(command, "--set-file", to.raw_files, "KEY=PATH", from_file);
}

CLI::Option*
add_format_option(CLI::App& command, output_format& to, const std::vector<std::string>& formats) {
    const auto take = [&to](const std::string& name) {
        to = name == "json"     ? output_format::json
             : name == "plugin" ? output_format::plugin
             : name == "config" ? output_format::config
                                : output_format::table;
    };
    return command
        .add_option_function<std::string>("--format", take, "json: one object in each line")
        ->check(CLI::IsMember(formats))
        ->default_str("table");
}

void add_level_option(CLI::App& command, std::optional<std::int32_t>& to, const char* help) {
    const auto take = [&to](const std::string& text) { to = parse_level(text); };
    command.add_option_function<std::string>("--log-level", take, help)->type_name("LEVEL");
}

void add_log_options(CLI::App& command, log_arguments& to) {
    constexpr const char* help =
        "Show log lines up to this level: error, warning, info, debug, or 0 to 7";
    add_level_option(command, to.level, help);
    command.add_flag("--logging", to.logging, "Let the sensor write its own log lines, too");
}

} // namespace tarvik::monitoring_modules::probe
