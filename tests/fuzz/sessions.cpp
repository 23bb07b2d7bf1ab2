// Whole sessions with a server whose answers were changed, as the module's hosts see them: without
// channel security on their way, with it before they are signed. First byte: what the module is
// asked to do, then changes.

#include "host/channel_memory.hpp"
#include "host/kept_state.hpp"
#include "host/message.hpp"
#include "host/settings_record.hpp"
#include "simulator/plant_server.hpp"
#include "tests/fuzz/own_module.hpp"
#include "tests/fuzz/session_peer.hpp"
#include "tests/support/certificate_factory.hpp"
#include "tests/support/spoiling_server.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

namespace {

constexpr std::array sensors{
    "custom_sensor",
    "server_status_sensor",
    "certificate_sensor",
    "beckhoff_ipc_system_status_sensor"};
constexpr std::array checks{"connection_check", "endpoint_validation_check"};
constexpr unsigned notification = sensors.size() + checks.size();
constexpr unsigned deeds = notification + 1;

std::uint32_t trust_all(void*, const char*, const std::uint8_t*, std::uint32_t) {
    return 0;
}

/// A server, and how one is connected with it.
struct connection_to {
    enum class kind { open, password, sign, sign_encrypt };
    std::uint16_t port;
    kind how;
};

/// Passwords have the judge asked, as certificates of secured channels have.
void add_security(probe::settings& values, connection_to::kind how) {
    if (how == connection_to::kind::password) {
        values[probe::keys::user_mode] = "username_password";
        values[probe::keys::user] = "user1";
        values[probe::keys::password] = "password1";
    } else if (how != connection_to::kind::open) {
        static const std::string certificate =
            make_certificate(test_support::application_request("urn:fuzz")).pem;
        values[probe::keys::security_mode] =
            how == connection_to::kind::sign ? "sign" : "sign_encrypt";
        values[probe::keys::security_policy] = "Basic256Sha256";
        values[probe::keys::certificate] = certificate;
        values[probe::keys::key] = private_key_pem(test_support::key_kind::rsa);
    }
}

std::string record_for(const std::string& kind, const connection_to& to) {
    probe::settings values{{probe::keys::port, std::to_string(to.port)}};
    // The last to be served on a busy machine waits for its peer, which ends silence by itself.
    constexpr std::uint32_t patience = 300; // seconds
    values["timeout"] = std::to_string(patience);
    const bool notifies = kind == "opcua_notification";
    values[notifies ? probe::keys::host_of_notification : probe::keys::host_of_sensor] =
        "127.0.0.1";
    if (kind == "custom_sensor") {
        // Of namespace 0 where there are no others.
        const bool plain =
            to.how == connection_to::kind::open || to.how == connection_to::kind::password;
        const std::vector<std::string> channels =
            plain ? std::vector<std::string>{"ns=2;s=Tank.Level", "'ns=2;s=Array.Doubles'[1]"}
                  : std::vector<std::string>{"i=2267", "i=2992"};
        probe::add_channels(
            values, probe::parse_channels(channels, {}, {}), plain ? "ns=2;s=Text.Status" : "i=2262"
        );
    }
    if (notifies) {
        probe::add_notification(
            values, {"ns=2;s=Write.Double", "FloatingPoint", "1.5", patience}, {}
        );
    }
    add_security(values, to.how);
    return probe::record(kind, values);
}

bool look_at(const std::vector<std::string>& messages) {
    const probe::module_document document;
    probe::channel_memory memory{document};
    bool good = true;
    for (const std::string& text : messages) {
        const probe::any_message message = probe::parse_message(text);
        if (const auto* const scan = std::get_if<probe::scan_result>(&message)) {
            static_cast<void>(memory.take(*scan, {}));
            good = good && scan->state != probe::scan_state::error;
        } else if (const auto* const check = std::get_if<probe::check_result>(&message)) {
            good = good && check->success;
        }
    }
    return good;
}

/// @return whether all went well
bool play(unsigned deed, const connection_to& to) {
    // The key pair of clients is costly, and stays the same.
    static const probe::kept_state store{
        own_library().framework().set_store, probe::state_folder_path(), [](const std::string&) {}};
    // All lines are put together, and a module that is new remembers no server from before.
    const probe::log_sink lines{
        own_library(), [](probe::log_line&&) {}, [](probe::module_event&&) {}};
    const probe::monitoring_module module{own_library()};
    own_library().framework().set_server_trust(trust_all, nullptr);
    std::vector<probe::call_result> results;
    if (deed < sensors.size()) {
        results.push_back(module.create_sensor(7, record_for(sensors.at(deed), to)));
        if (results.back().status == OPCUA_MODULE_DONE) {
            const probe::sensor_owner sensor{module, 7};
            results.push_back(sensor.scan());
        }
    } else if (deed < notification) {
        results.push_back(module.check(7, record_for(checks.at(deed - sensors.size()), to)));
    } else {
        results.push_back(module.notify(7, record_for("opcua_notification", to)));
    }
    bool good = true;
    for (const probe::call_result& result : results) {
        good = good && result.status == OPCUA_MODULE_DONE && look_at(result.messages);
    }
    return good;
}

constexpr const char* unchanged_works = "a session works while nothing is changed";

class stage {
  public:
    void perform(unsigned deed, connection_to::kind how, std::vector<change> changes) {
        const connection_to to{peer_.port(), how};
        recorded_answers& known = known_[{deed, how}];
        if (known.empty()) {
            peer_.record();
            require(play(deed, to), unchanged_works);
            known = peer_.recorded();
        }
        const bool changed = !changes.empty();
        peer_.replay(known, std::move(changes));
        require(play(deed, to) || changed, unchanged_works);
    }

  private:
    static simulator::plant_options options() {
        simulator::plant_options options;
        options.auto_change = false;
        options.users = true;
        options.encrypt_passwords = true;
        options.endpoints.sign = true;
        return options;
    }

    simulator::plant_server plant_{options()};
    session_peer peer_{(plant_.start(), plant_.port())};
    std::map<std::pair<unsigned, connection_to::kind>, recorded_answers> known_;
};

/// Changes what stands behind the head of a message that is number `at` of its session.
void spoil(std::span<UA_Byte> chunk, std::size_t at, const std::vector<change>& changes) {
    constexpr std::size_t head_size = 24;
    std::string message{reinterpret_cast<const char*>(chunk.data()), chunk.size()};
    for (const change& wish : changes) {
        if (wish.message % 16 == at) {
            apply(wish, message, {});
        }
    }
    for (std::size_t i = head_size; i < std::min(chunk.size(), message.size()); ++i) {
        chunk[i] = static_cast<UA_Byte>(message[i]);
    }
}

} // namespace

void sessions(std::string_view input) {
    static stage on;
    input_parts parts{input};
    const unsigned choice = parts.number();
    on.perform(
        choice % deeds,
        choice / deeds % 2 == 1 ? connection_to::kind::password : connection_to::kind::open,
        read_changes(parts)
    );
}

void secured_sessions(std::string_view input) {
    static test_support::spoiling_server server;
    input_parts parts{input};
    const unsigned choice = parts.number();
    const auto changes = read_changes(parts);
    server.spoil([&changes, at = std::size_t{0}](std::span<UA_Byte> chunk) mutable {
        spoil(chunk, at++, changes);
    });
    const bool good = play(
        choice % deeds,
        {server.port(),
         choice / deeds % 2 == 1 ? connection_to::kind::sign : connection_to::kind::sign_encrypt}
    );
    const bool needs_nodes = choice % deeds != sensors.size(); // of which it has few
    require(good || !changes.empty() || needs_nodes, unchanged_works);
    server.spoil({}); // which the last message may still ask for
}

} // namespace tarvik::monitoring_modules::fuzz
