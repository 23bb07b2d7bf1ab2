#pragma once
// The commands trust and certificate: whom this program believes, and who it is.

#include "host/server_address.hpp"
#include "terminal/command_context.hpp"

#include <functional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Asks a server for the certificates of its endpoints, in DER, each once; nothing about them has
/// been checked.
/// @throws probe_error (error) when it does not answer
using certificate_fetcher = std::function<std::vector<std::string>(const named_server& server)>;

struct trust_options {
    enum class action { accept, list, add, remove, rejected };
    action what = action::list;
    std::string pki;         ///< path of the folder; empty: in the state folder
    std::string subject;     ///< a server, a file or a fingerprint, by the action
    std::string fingerprint; ///< of accept: the one that is expected; empty: a person is asked
    bool issuer = false;     ///< of add: known, but not trusted by itself
};

/// @throws probe_error (usage) for what cannot be understood, (error) for what cannot be done
[[nodiscard]] exit_code run_trust(
    const command_context& context, const trust_options& options, const certificate_fetcher& fetch
);

struct certificate_options {
    enum class action { create, show, export_file, renew };
    action what = action::show;
    std::string pki;
    std::string file; ///< of export_file
    std::string uri;  ///< empty, as all that follow: as this machine's name suggests
    std::string common_name;
    std::vector<std::string> dns_names;
    int days = 1825;
    int bits = 2048;
    bool replace = false;
};

/// @throws probe_error (usage) for what cannot be understood, (error) for what cannot be done
[[nodiscard]] exit_code
run_certificate(const command_context& context, const certificate_options& options);

} // namespace tarvik::monitoring_modules::probe
