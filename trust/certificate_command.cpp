#include "host/secret_file.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"
#include "trust/commands.hpp"
#include "trust/own_certificate.hpp"
#include "trust/pki_folder.hpp"

#include <chrono>
#include <fstream>
#include <optional>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string shown(const own_identity& own) {
    std::string text = "The certificate by which servers know opcua-probe:\n";
    for (const std::string& line :
         split_at('\n', describe(own.shown, std::chrono::system_clock::now()))) {
        text += line.empty() ? "" : sanitise(line) + "\n";
    }
    return text + "  file      " + sanitise(own.certificate_path.string()) + "\n  key       " +
           sanitise(own.key_path.string()) + "\n";
}

[[nodiscard]] own_identity require_own(const pki_folder& folder) {
    auto own = folder.own();
    if (!own) {
        throw probe_error{
            exit_code::error,
            "There is no certificate in " + folder.root().string() +
                " yet: opcua-probe certificate create"};
    }
    return std::move(*own);
}

/// What the options say, else the base.
[[nodiscard]] certificate_request
request_of(const certificate_options& options, certificate_request base) {
    const auto put = [](std::string& to, const std::string& from) {
        to = from.empty() ? to : from;
    };
    put(base.uri, options.uri);
    put(base.common_name, options.common_name);
    if (!options.dns_names.empty()) {
        base.dns_names = options.dns_names;
    }
    base.days = options.days;
    base.bits = options.bits;
    return base;
}

[[nodiscard]] exit_code create(
    const command_context& context, const pki_folder& folder, const certificate_options& options
) {
    if (const auto present = folder.own(); present && !options.replace) {
        throw probe_error{
            exit_code::error,
            present->certificate_path.string() +
                " is there already. Servers know opcua-probe by it: renew keeps its key and URI, "
                "create "
                "--replace makes another that servers have to be given anew"};
    }
    const made_identity made = [&] {
        const wait_notice notice{context.terminal, "making a key"};
        return make_identity(request_of(options, default_request()));
    }();
    folder.keep_own(made.own, made.key.view());
    context.out.write(
        shown(require_own(folder)) +
        "Next: opcua-probe certificate export FILE, and have the server trust that file.\n"
    );
    return exit_code::ok;
}

[[nodiscard]] exit_code renew(
    const command_context& context, const pki_folder& folder, const certificate_options& options
) {
    const own_identity old = require_own(folder);
    const auto uris = old.shown.uris();
    const certificate_request same{
        uris.empty() ? default_request().uri : uris.front(),
        old.shown.name(),
        old.shown.dns_names()};
    const key_text key{read_file(old.key_path)};
    const made_identity made = renew_identity(key.view(), request_of(options, same));
    folder.keep_own(made.own, made.key.view());
    context.out.write(
        shown(require_own(folder)) +
        "Servers that trust single certificates have to be given this one: opcua-probe certificate "
        "export FILE\n"
    );
    return exit_code::ok;
}

[[nodiscard]] exit_code
export_to(const command_context& context, const pki_folder& folder, const std::string& file) {
    const own_identity own = require_own(folder);
    const std::string bytes =
        lower_case(file).ends_with(".pem") ? own.certificate_pem : own.shown.der();
    std::ofstream to{file, std::ios::binary};
    to << bytes;
    if (!to.flush()) {
        throw probe_error{exit_code::error, file + ": it cannot be written"};
    }
    context.out.write("Written, without the private key: " + sanitise(file) + "\n");
    return exit_code::ok;
}

} // namespace

exit_code run_certificate(const command_context& context, const certificate_options& options) {
    const pki_folder folder{pki_path(options.pki)};
    switch (options.what) {
    case certificate_options::action::create:
        return create(context, folder, options);
    case certificate_options::action::renew:
        return renew(context, folder, options);
    case certificate_options::action::export_file:
        return export_to(context, folder, options.file);
    default:
        break;
    }
    const own_identity own = require_own(folder);
    context.out.write(shown(own));
    const auto days = days_left(own.shown, std::chrono::system_clock::now());
    return days && *days >= 0 ? exit_code::ok : exit_code::error;
}

} // namespace tarvik::monitoring_modules::probe
