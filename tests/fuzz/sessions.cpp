// Whole sessions with a server whose answers were changed, as the module's hosts see them. First
// byte: what the module is asked to do, then changes.

#include "host/channel_memory.hpp"
#include "host/kept_state.hpp"
#include "host/message.hpp"
#include "host/settings_record.hpp"
#include "simulator/plant_server.hpp"
#include "tests/fuzz/own_module.hpp"
#include "tests/fuzz/session_peer.hpp"

#include <array>
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

/// @param password whether somebody logs in by name, which has the judge asked
std::string record_for(const std::string& kind, std::uint16_t port, bool password) {
    probe::settings values{{probe::keys::port, std::to_string(port)}};
    const bool notifies = kind == "opcua_notification";
    values[notifies ? probe::keys::host_of_notification : probe::keys::host_of_sensor] =
        "127.0.0.1";
    if (kind == "custom_sensor") {
        probe::add_channels(
            values,
            probe::parse_channels({"ns=2;s=Tank.Level", "'ns=2;s=Array.Doubles'[1]"}, {}, {}),
            "ns=2;s=Text.Status"
        );
    }
    if (notifies) {
        probe::add_notification(values, {"ns=2;s=Write.Double", "FloatingPoint", "1.5", 5}, {});
    }
    if (password) {
        values[probe::keys::user_mode] = "username_password";
        values[probe::keys::user] = "user1";
        values[probe::keys::password] = "password1";
    }
    return probe::record(kind, values);
}

class stage {
  public:
    void perform(unsigned deed, bool password, std::vector<change> changes) {
        recorded_answers& known = known_[{deed, password}];
        if (known.empty()) {
            peer_.record();
            require(play(deed, password), "a session works while nothing is changed");
            known = peer_.recorded();
        }
        const bool changed = !changes.empty();
        peer_.replay(known, std::move(changes));
        require(play(deed, password) || changed, "a session works while nothing is changed");
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

    /// @return whether all went well
    [[nodiscard]] bool play(unsigned deed, bool password) const {
        // All lines are put together, and a module that is new remembers no server from before.
        const probe::log_sink lines{
            own_library(), [](probe::log_line&&) {}, [](probe::module_event&&) {}};
        const probe::monitoring_module module{own_library()};
        own_library().framework().set_server_trust(trust_all, nullptr);
        std::vector<probe::call_result> results;
        const auto record_of = [&](const char* kind) {
            return record_for(kind, peer_.port(), password);
        };
        if (deed < sensors.size()) {
            results.push_back(module.create_sensor(7, record_of(sensors.at(deed))));
            if (results.back().status == OPCUA_MODULE_DONE) {
                const probe::sensor_owner sensor{module, 7};
                results.push_back(sensor.scan());
            }
        } else if (deed < notification) {
            results.push_back(module.check(7, record_of(checks.at(deed - sensors.size()))));
        } else {
            results.push_back(module.notify(7, record_of("opcua_notification")));
        }
        bool good = true;
        for (const probe::call_result& result : results) {
            good = good && result.status == OPCUA_MODULE_DONE && look_at(result.messages);
        }
        return good;
    }

    static bool look_at(const std::vector<std::string>& messages) {
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

    // The key pair of clients is costly, and stays the same.
    probe::kept_state store_{
        own_library().framework().set_store, probe::state_folder_path(), [](const std::string&) {}};
    simulator::plant_server plant_{options()};
    session_peer peer_{(plant_.start(), plant_.port())};
    std::map<std::pair<unsigned, bool>, recorded_answers> known_;
};

} // namespace

void sessions(std::string_view input) {
    static stage on;
    input_parts parts{input};
    const unsigned choice = parts.number();
    on.perform(choice % deeds, choice / deeds % 2 == 1, read_changes(parts));
}

} // namespace tarvik::monitoring_modules::fuzz
