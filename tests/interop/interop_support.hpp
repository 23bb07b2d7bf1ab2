#pragma once

// What the interoperability tests ask of the module, as a host does.

#include "tests/interop/tested_server.hpp"
#include "tests/module/recording_host.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::tests {

/// How a client presents itself; `mode`, `policy` and the user's mode as in the settings.
struct login {
    std::string mode = "none";
    std::string policy = "Basic256Sha256"; ///< not used by mode "none"
    std::string user{};                    ///< empty: anonymous
    std::string password{};
    std::string key_password{}; ///< encrypts the client's key, unless it is empty
};

inline const login anonymous{};
inline const login user1{.user = "user1", .password = "password1"};

[[nodiscard]] inline login with_mode(login as, std::string mode) {
    as.mode = std::move(mode);
    return as;
}

/// Settings for this login, with a client certificate where the mode needs one. It is made once in
/// a process.
[[nodiscard]] setting_map settings_for(const login& as);

/// The one message of a sensor that is made, scanned once and destroyed; of its making when that
/// fails.
/// @param kind the sensor's kind
[[nodiscard]] nlohmann::json
scan_once(recording_host& host, const std::string& kind, const setting_map& settings);

/// As above, of a custom sensor with these nodes as its channels.
[[nodiscard]] nlohmann::json scan_values(
    recording_host& host,
    const tested_server& server,
    const std::vector<std::string>& node_ids,
    const setting_map& more
);

/// Empty when a result is good, else the text of its message.
[[nodiscard]] std::string error_of(const nlohmann::json& scan_result);

/// Whether the check answers "yes".
/// @param kind the check's kind
[[nodiscard]] bool
answers_yes(recording_host& host, const std::string& kind, const setting_map& settings);

} // namespace tarvik::monitoring_modules::tests
