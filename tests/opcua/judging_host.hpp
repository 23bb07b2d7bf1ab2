#pragma once

// A host that judges servers, and servers whose every message its tests see.

#include "tests/opcua/secured_settings.hpp"
#include "tests/support/scripted_peer.hpp"
#include "zunohelper/event_observer.h"
#include "zunohelper/server_trust.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::tests {

using opcua::assign;
using opcua::client_settings;
using opcua::elements;
using opcua::security_mode;
using test_support::moment;
using test_support::scripted_peer;

using bytes = std::vector<std::uint8_t>;

inline const std::string no_security_policy = "http://opcfoundation.org/UA/SecurityPolicy#None";
inline const bytes in_the_clear{};

struct question {
    std::string url;
    bytes certificate;
    std::string application_uri; ///< that was announced before; empty: none was

    bool operator==(const question&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const question& asked) {
    return out << asked.url << " " << asked.certificate.size() << " bytes "
               << asked.application_uri;
}

/// A host with a judge that keeps what it is asked.
class host_judge {
  public:
    explicit host_judge(std::function<std::uint32_t(const question&)> decide = trust_everybody)
        : decide_{std::move(decide)} {
        ZunoSetEventObserver(&observe, this);
        ZunoSetServerTrust(&judge, this);
    }
    host_judge(const host_judge&) = delete;
    host_judge& operator=(const host_judge&) = delete;
    ~host_judge() {
        ZunoSetServerTrust(nullptr, nullptr);
        ZunoSetEventObserver(nullptr, nullptr);
    }

    static std::uint32_t trust_everybody(const question& /*asked*/) { return UA_STATUSCODE_GOOD; }
    void decide(std::function<std::uint32_t(const question&)> decide) {
        decide_ = std::move(decide);
    }
    void answer(std::uint32_t status) {
        decide_ = [status](const question& /*asked*/) { return status; };
    }

    /// Since the last look.
    std::vector<question> asked() { return std::exchange(asked_, {}); }

  private:
    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        auto& self = *static_cast<host_judge*>(user);
        EXPECT_EQ(std::this_thread::get_id(), self.thread_);
        self.asked_.push_back(
            {url, {certificate, certificate + size}, std::exchange(self.announced_, {})}
        );
        return self.decide_(self.asked_.back());
    }
    static void observe(void* user, std::int32_t event, const char* text, std::uint32_t length) {
        auto& self = *static_cast<host_judge*>(user);
        EXPECT_EQ(self.announced_, ""); // nothing comes between it and the question
        if (event == ZUNO_EVENT_SERVER_URI) {
            self.announced_.assign(text, length);
        }
    }

    std::function<std::uint32_t(const question&)> decide_;
    std::vector<question> asked_;
    std::string announced_;
    std::thread::id thread_ = std::this_thread::get_id();
};

/// Plants whose every message a test sees, and one client's way to them.
struct server_trust : testing::Test {
    static plant_options with_passwords(bool encrypted) {
        return {
            .application_uri = "urn:plant:7",
            .users = true,
            .encrypt_passwords = encrypted,
            .endpoints = every_mode};
    }

    [[nodiscard]] client_settings
    settings_of(const scripted_peer& peer, security_mode mode, bool by_name) const {
        client_settings settings =
            mode == security_mode::none ? settings_for(peer) : secured(peer, mode);
        settings.set_server_name("line 7/plc");
        return by_name ? with_user(settings, "password1") : settings;
    }
    [[nodiscard]] static std::string url_of(const scripted_peer& peer) {
        return "opc.tcp://127.0.0.1:" + std::to_string(peer.port()) + "/line 7/plc";
    }
    [[nodiscard]] static question about(const scripted_peer& peer, const bytes& certificate) {
        return {url_of(peer), certificate, "urn:plant:7"};
    }

    /// How many messages have passed that only somebody sends who wants a session.
    [[nodiscard]] static int steps_to_a_session(const scripted_peer& peer) {
        return peer.seen(moment::create_session) + peer.seen(moment::activate_session) +
               peer.seen(moment::unreadable);
    }

    static std::string connect(const client_settings& settings) {
        logged_client client{settings};
        return error_of([&] { client->ensure_connected(); });
    }

    std::unique_ptr<plant> encrypting = start_plant(with_passwords(true));
    std::unique_ptr<plant> open_handed =
        start_plant({.application_uri = "urn:plant:7", .users = true});
    scripted_peer encrypting_peer{encrypting->port(), {}};
    scripted_peer open_handed_peer{open_handed->port(), {}};
};

/// Makes the user name's token one that asks for no encryption.
inline void ask_for_plain_passwords(UA_GetEndpointsResponse& response) {
    for (auto& endpoint : elements(response.endpoints, response.endpointsSize)) {
        for (auto& token : elements(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize)) {
            assign(token.securityPolicyUri, no_security_policy);
        }
    }
}

} // namespace tarvik::monitoring_modules::tests
