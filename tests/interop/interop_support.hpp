#pragma once

// What the interoperability tests ask of the module, as a host does.

#include "tests/interop/tested_server.hpp"
#include "tests/module/recording_host.hpp"

#include <chrono>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {

/// How a client presents itself; `mode`, `policy` and the user's mode as in the settings.
struct login {
    std::string mode = "none";
    std::string policy = "Basic256Sha256"; ///< not used by mode "none"
    std::string user{};                    ///< empty: anonymous
    std::string password{};
    std::string key_password{}; ///< encrypts the client's key, unless it is empty
};

/// A host, for cases that run at the servers of all makers.
class by_maker : public testing::TestWithParam<maker> {
  protected:
    recording_host host_;
};

inline const auto all_makers = testing::ValuesIn(makers);

inline std::string name_of_maker(const testing::TestParamInfo<maker>& info) {
    return name_of(info.param);
}

/// A maker and a security mode.
using maker_and_mode = std::tuple<maker, const char*>;

inline std::string name_of_both(const testing::TestParamInfo<maker_and_mode>& info) {
    return name_of(std::get<maker>(info.param)) + "_" + std::get<const char*>(info.param);
}

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

/// Empty when a result is good, else the text of its message.
[[nodiscard]] std::string error_of(const nlohmann::json& scan_result);

/// The last goodbye may still be under way to a server with threads of its own.
/// @return whether no session is left there within some time
[[nodiscard]] bool sessions_end(tested_server& server, std::chrono::milliseconds longest);

/// Whether the check answers "yes".
/// @param kind the check's kind
[[nodiscard]] bool
answers_yes(recording_host& host, const std::string& kind, const setting_map& settings);

} // namespace tarvik::monitoring_modules::tests
