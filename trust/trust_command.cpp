#include "host/secret_file.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"
#include "trust/commands.hpp"
#include "trust/pki_folder.hpp"
#include "trust/server_judge.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iostream>
#include <set>

namespace tarvik::monitoring_modules::probe {

namespace {

using part = pki_folder::part;

constexpr std::size_t name_columns = 40;
constexpr std::size_t shortest_fingerprint = 8;
constexpr std::array all_parts{part::trusted, part::issuers, part::rejected};

/// @throws probe_error (usage) when the text names no server
[[nodiscard]] named_server parse_subject(const std::string& subject) {
    parsed_server parsed = parse_server(subject);
    if (!parsed.server) {
        throw probe_error{exit_code::usage, subject + ": " + parsed.problem};
    }
    return std::move(*parsed.server);
}

[[nodiscard]] std::string safe_lines(const std::string& text) {
    std::string safe;
    for (const std::string& line : split_at('\n', text)) {
        safe += sanitise(line) + "\n";
    }
    safe.pop_back();
    return safe;
}

/// @return whether a person says yes
[[nodiscard]] bool asked(console& terminal, const std::string& question) {
    if (::isatty(STDIN_FILENO) != 1) {
        throw probe_error{
            exit_code::usage,
            "Nobody is here to be asked: --fingerprint SHA256 names the certificate that is "
            "expected"};
    }
    terminal.line(question + " Type yes to trust it.");
    std::string answer;
    std::getline(std::cin, answer);
    return lower_case(answer) == "yes" || lower_case(answer) == "y";
}

/// @return how many servers are known by a certificate
[[nodiscard]] auto
holders(const std::map<std::string, known_server>& known, const std::string& fingerprint) {
    return std::ranges::count_if(known, [&fingerprint](const auto& entry) {
        return entry.second.fingerprint == fingerprint;
    });
}

/// Takes back what was trusted for a server before, unless another server has the same certificate.
void drop_former(const pki_folder& folder, const std::string& address, const std::string& now) {
    const auto known = folder.known_servers();
    const auto former = known.find(address);
    if (former == known.end() || former->second.fingerprint == now) {
        return;
    }
    const std::string old = former->second.fingerprint;
    if (holders(known, old) == 1) {
        static_cast<void>(folder.remove(part::trusted, old));
    }
}

[[nodiscard]] exit_code accept(
    const command_context& context,
    const pki_folder& folder,
    const trust_options& options,
    const certificate_fetcher& fetch
) {
    const named_server server = parse_subject(options.subject);
    const std::string address = address_in(options.subject);
    const std::string expected = parse_fingerprint(options.fingerprint);
    if (expected.empty() && !options.fingerprint.empty()) {
        throw probe_error{
            exit_code::usage, "--fingerprint: expected the 64 hexadecimal digits of a SHA-256"};
    }
    std::vector<certificate> offered;
    for (const std::string& der : fetch(server)) {
        if (const auto chain = read_certificates(der); !chain.empty()) {
            offered.push_back(chain.front());
        }
    }
    if (offered.empty()) {
        throw probe_error{exit_code::error, address + " has no certificate that can be read"};
    }
    bool accepted = false;
    for (const certificate& shown : offered) {
        const std::string fingerprint = shown.fingerprint();
        context.out.write(
            sanitise(address) + " shows this certificate:\n" +
            safe_lines(describe(shown, std::chrono::system_clock::now()))
        );
        if (const auto known = folder.known_servers();
            known.contains(address) && known.at(address).fingerprint != fingerprint) {
            context.out.write(
                "It had another one before: SHA-256 " + known.at(address).fingerprint + "\n"
            );
        }
        const bool wanted =
            expected.empty()
                ? asked(
                      context.terminal,
                      "Compare the fingerprint with what the server's own display, its "
                      "administrator or its papers say."
                  )
                : expected == fingerprint;
        if (wanted) {
            drop_former(folder, address, fingerprint);
            const auto path = folder.add(part::trusted, shown);
            folder.remember(address, known_server{fingerprint, true});
            static_cast<void>(folder.remove(part::rejected, fingerprint));
            context.out.write(
                "Trusted for " + sanitise(address) + ": " + sanitise(path.string()) + "\n"
            );
            accepted = true;
        }
    }
    if (!accepted) {
        context.out.write(
            expected.empty() ? "Not trusted.\n"
                             : "Not trusted: this is not the certificate that was expected.\n"
        );
    }
    return accepted ? exit_code::ok : exit_code::error;
}

void add_rows(table& to, const pki_folder& folder, part from, const char* title) {
    const auto now = std::chrono::system_clock::now();
    const auto known = folder.known_servers();
    for (const certificate_file& file : folder.certificates(from)) {
        const std::string fingerprint = file.content.fingerprint();
        std::vector<std::string> servers;
        for (const auto& [address, entry] : known) {
            if (entry.fingerprint == fingerprint) {
                servers.push_back(address);
            }
        }
        const auto days = days_left(file.content, now);
        const bool expired = !days || *days < 0;
        to.add_row(
            {{title},
             {file.content.is_authority() ? "authority" : "server"},
             {fit(file.content.name(), name_columns)},
             {days ? std::to_string(*days) : "?", expired ? colour::red : colour::plain},
             {fit(joined(servers), name_columns)},
             {fingerprint}}
        );
    }
}

[[nodiscard]] exit_code
show(const command_context& context, const pki_folder& folder, const std::vector<part>& parts) {
    table rows{{{""}, {""}, {"name"}, {"days left", alignment::right}, {"servers"}, {"SHA-256"}}};
    for (const part of : parts) {
        add_rows(
            rows,
            folder,
            of,
            of == part::trusted   ? "trusted"
            : of == part::issuers ? "issuer"
                                  : "rejected"
        );
    }
    const std::string text = rows.render(context.out.colours());
    context.out.write(
        text.empty() ? "There are none in " + sanitise(folder.root().string()) + "\n" : text
    );
    return exit_code::ok;
}

[[nodiscard]] exit_code
add(const command_context& context, const pki_folder& folder, const trust_options& options) {
    const std::string bytes = read_file(options.subject);
    const part to = options.issuer ? part::issuers : part::trusted;
    if (const auto lists = read_revocation_lists(bytes); !lists.empty()) {
        std::string name = std::filesystem::path{options.subject}.filename();
        const auto path = folder.add_lists(to, name, bytes);
        context.out.write("Added: " + sanitise(path.string()) + "\n");
        return exit_code::ok;
    }
    const auto certificates = read_certificates(bytes);
    if (certificates.empty()) {
        throw probe_error{
            exit_code::usage,
            options.subject + ": it is neither a certificate nor a revocation list, in PEM or DER"};
    }
    for (const certificate& added : certificates) {
        if (to == part::issuers && !added.is_authority()) {
            throw probe_error{
                exit_code::usage, options.subject + ": it is no authority's certificate"};
        }
        const auto path = folder.add(to, added);
        static_cast<void>(folder.remove(part::rejected, added.fingerprint()));
        context.out.write(
            safe_lines(describe(added, std::chrono::system_clock::now())) +
            (to == part::issuers    ? "Known as an issuer: "
             : added.is_authority() ? "Trusted, with all servers that it vouches for: "
                                    : "Trusted as a server: ") +
            sanitise(path.string()) + "\n"
        );
    }
    return exit_code::ok;
}

/// @param beginning of a fingerprint, with or without colons and blanks
/// @return the fingerprints that begin so; none for a beginning that is too short to mean one
[[nodiscard]] std::set<std::string>
beginning_with(const pki_folder& folder, const std::string& beginning) {
    std::string digits = lower_case(beginning);
    std::erase_if(digits, [](char letter) { return letter == ':' || letter == ' '; });
    std::set<std::string> found;
    for (const part from : all_parts) {
        for (const certificate_file& file : folder.certificates(from)) {
            if (file.content.fingerprint().starts_with(digits)) {
                found.insert(file.content.fingerprint());
            }
        }
    }
    return digits.size() < shortest_fingerprint ? std::set<std::string>{} : found;
}

[[nodiscard]] exit_code
remove(const command_context& context, const pki_folder& folder, const std::string& subject) {
    const std::string address = address_in(subject);
    const auto known = folder.known_servers();
    std::set<std::string> chosen;
    if (const auto entry = known.find(address); entry != known.end()) {
        folder.remember(address, std::nullopt);
        context.out.write("Forgotten: " + sanitise(address) + "\n");
        if (holders(known, entry->second.fingerprint) == 1) {
            chosen.insert(entry->second.fingerprint);
        }
    } else {
        chosen = beginning_with(folder, subject);
        if (chosen.size() != 1) {
            throw probe_error{
                exit_code::usage,
                subject + (chosen.empty()
                               ? ": neither a known server nor the beginning (at least 8 "
                                 "digits) of a SHA-256 that opcua-probe trust list shows"
                               : ": several certificates begin so")};
        }
    }
    for (const std::string& fingerprint : chosen) {
        for (const part from : all_parts) {
            if (folder.remove(from, fingerprint) > 0) {
                context.out.write("Removed: SHA-256 " + fingerprint + "\n");
            }
        }
    }
    return exit_code::ok;
}

} // namespace

exit_code run_trust(
    const command_context& context, const trust_options& options, const certificate_fetcher& fetch
) {
    const pki_folder folder{pki_path(options.pki)};
    switch (options.what) {
    case trust_options::action::accept:
        return accept(context, folder, options, fetch);
    case trust_options::action::add:
        return add(context, folder, options);
    case trust_options::action::remove:
        return remove(context, folder, options.subject);
    case trust_options::action::rejected:
        return show(context, folder, {part::rejected});
    default:
        return show(context, folder, {part::trusted, part::issuers});
    }
}

} // namespace tarvik::monitoring_modules::probe
