#include "probe/cli.hpp"

#include <CLI/CLI.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

// The actions of a command have its examples, too; files are told by the command itself.
constexpr const char* trust_examples = R"(
Examples:
  opcua-probe trust accept plc.example
  opcua-probe trust accept plc.example:4841 --fingerprint 3f8a...
  opcua-probe trust add plant-ca.pem
  opcua-probe trust remove plc.example)";

constexpr const char* trust_files = R"(
Signed and encrypted connections, and encrypted passwords, go to a server only if its certificate is trusted: itself, or
by the authority that issued it. For a whole example, see docs/security.md.

Files (in the folder that --pki names):
  trusted/certs               servers and authorities that are trusted
  trusted/crl                 revocation lists of these authorities
  issuers/certs, issuers/crl  authorities that only complete chains, and their revocation lists
  rejected/certs              the last 100 certificates that were refused
  known-servers               which certificate each server showed, and which a person has accepted
Certificates and lists may be put there by hand, in PEM or DER; each connection reads them anew.)";

constexpr const char* certificate_examples = R"(
Examples:
  opcua-probe certificate create
  opcua-probe certificate export opcua-probe.der
  opcua-probe certificate renew --days 730)";

constexpr const char* certificate_files = R"(
Servers want a certificate for every signed or encrypted connection. The one made here is used unless
--client-certificate and --client-key name another. For a whole example, see docs/security.md.

Files (in the folder that --pki names):
  own/certs/opcua-probe.der    the certificate
  own/private/opcua-probe.pem  its private key, which only the owner of the file may read)";

constexpr const char* usual_folder = R"(
Without --pki, the folder is pki in the state folder: $STATE_DIRECTORY, else $XDG_STATE_HOME/opcua-probe, else
~/.local/state/opcua-probe.
)";

void add_pki_option(CLI::App& command, std::string& to) {
    constexpr const char* help = "Folder of certificates; default: pki in the state folder";
    add_option(command, "--pki", to, "DIR", help);
}

/// Adds a subcommand that chooses an action.
template <typename Options>
CLI::App& add_action(
    CLI::App& command,
    any_command& chosen,
    const char* name,
    const char* help,
    typename Options::action what,
    Options*& given
) {
    CLI::App& action = *command.add_subcommand(name, help);
    given = &given_to<Options>(action, chosen, [what](Options&& options) {
        options.what = what;
        return std::move(options);
    });
    add_pki_option(action, given->pki);
    return action;
}

} // namespace

void add_trust(CLI::App& program, any_command& chosen) {
    using enum trust_options::action;
    CLI::App& command = *program.add_subcommand(
        "trust", "Accept, add, list and remove the certificates of servers that are trusted"
    );
    command.require_subcommand(1);
    command.footer(trust_examples);
    trust_options* given = nullptr;
    const auto subcommand = [&](const char* name, const char* help, trust_options::action what
                            ) -> CLI::App& {
        return add_action(command, chosen, name, help, what, given);
    };

    CLI::App& accepting = subcommand(
        "accept", "Fetch the certificate of a server, show it, and trust it if you say yes", accept
    );
    constexpr const char* server = "The server, or its URL; default port: 4840";
    add_option(accepting, "server", given->subject, "HOST[:PORT]", server)->required();
    constexpr const char* fingerprint =
        "Do not ask: trust the certificate if this is its fingerprint, else refuse it";
    add_option(accepting, "--fingerprint", given->fingerprint, "SHA256", fingerprint);

    subcommand("list", "List trusted certificates, and the servers that showed them", list);

    CLI::App& adding = subcommand(
        "add", "Trust a server or an authority by its file, or add a revocation list", add
    );
    constexpr const char* file = "Certificates or a revocation list, PEM or DER";
    add_option(adding, "file", given->subject, "FILE", file)->required();
    constexpr const char* issuer =
        "The authority only completes certificate chains and is not trusted itself";
    adding.add_flag("--issuer", given->issuer, issuer);

    CLI::App& removing = subcommand("remove", "Stop trusting a server or a certificate", remove);
    constexpr const char* digits =
        "The server, or at least 8 digits that the fingerprint begins with";
    add_option(removing, "certificate", given->subject, "HOST[:PORT]|SHA256", digits)->required();

    subcommand("rejected", "List certificates that were refused", rejected);
    command.footer(std::string{trust_files} + usual_folder + trust_examples);
}

void add_certificate(CLI::App& program, any_command& chosen) {
    using enum certificate_options::action;
    CLI::App& command = *program.add_subcommand(
        "certificate",
        "Create, show, export and renew the certificate by which servers know this program"
    );
    command.require_subcommand(1);
    command.footer(certificate_examples);
    certificate_options* given = nullptr;
    const auto subcommand = [&](const char* name, const char* help, certificate_options::action what
                            ) -> CLI::App& {
        return add_action(command, chosen, name, help, what, given);
    };
    // What both tell in their own words is the default.
    const auto add_contents =
        [&given](CLI::App& action, const char* uri, const char* name, const char* dns) {
            add_option(action, "--uri", given->uri, "URI", uri);
            add_option(action, "--name", given->common_name, "CN", name);
            add_option(action, "--dns", given->dns_names, "NAME", dns);
            add_option(action, "--days", given->days, "N", "Days until it expires")
                ->check(CLI::Range(1, 36'500))
                ->capture_default_str();
        };

    CLI::App& creating =
        subcommand("create", "Make a private key and a certificate for it", create);
    add_contents(
        creating,
        "Application URI; default: urn:THIS-HOST:opcua-probe",
        "Common name; default: opcua-probe@THIS-HOST",
        "Host name of this machine; default: its own"
    );
    add_option(creating, "--bits", given->bits, "N", "Size of the RSA key")
        ->check(CLI::IsMember({2048, 3072, 4096}))
        ->capture_default_str();
    constexpr const char* replace =
        "Replace key and certificate that are there; servers have to trust the new one";
    creating.add_flag("--replace", given->replace, replace);

    subcommand(
        "show",
        "Show the certificate and the paths of its files; exit code 2 if it has expired",
        show
    );

    CLI::App& exporting = subcommand(
        "export", "Write the certificate, without its key, to a file for servers", export_file
    );
    constexpr const char* file = "File to write: PEM if its name ends in .pem, else DER";
    add_option(exporting, "file", given->file, "FILE", file)->required();

    CLI::App& renewing = subcommand("renew", "Make a new certificate for the same key", renew);
    add_contents(
        renewing,
        "Application URI; default: as before",
        "Common name; default: as before",
        "Host name of this machine; default: as before"
    );
    command.footer(std::string{certificate_files} + usual_folder + certificate_examples);
}

} // namespace tarvik::monitoring_modules::probe
