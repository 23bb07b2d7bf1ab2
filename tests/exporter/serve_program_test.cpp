// The built program, serving, with plants that come and go.

#include "simulator/plant_server.hpp"
#include "tests/exporter/notify_socket.hpp"
#include "tests/exporter/serving_probe.hpp"

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using simulator::plant_server;
using testing::HasSubstr;
using testing::Not;

constexpr const char* modules = R"(
modules:
  plant:
    {kind: custom_sensor, targets: ["127.0.0.1:*"], channels: ["Boiler=ns=2;s=Boiler.Temperature"],
     units: {1: "°C"}, plain_password: allow,
     settings: &user1 {logging: enabled, user: user1, password: password1}}
  tenths: {kind: custom_sensor, channels: ["ns=2;s=Boiler.Temperature"], scales: {1: 0.1},
           plain_password: allow, settings: *user1}
  closed: {kind: server_status_sensor}
  wrong: {kind: custom_sensor, channels: ["ns=2;s=Nowhere"]}
)";

[[nodiscard]] std::string sensor(
    const std::string& name,
    const plant_server& plant,
    const std::string& more = "",
    const char* module = "plant"
) {
    return "  - {name: " + name + ", module: " + module +
           ", target: \"127.0.0.1:" + std::to_string(plant.port()) + "\", interval: 200ms" + more +
           "}\n";
}

class serving : public testing::Test {
  protected:
    serving() {
        plant_.start();
        other_.start();
    }

    [[nodiscard]] std::string connection(const plant_server& plant) const {
        return "127.0.0.1:" + std::to_string(plant.port()) + " (user)";
    }
    [[nodiscard]] std::string
    series(const std::string& sensor_name, const plant_server& plant) const {
        return "opcua_up{sensor=\"" + sensor_name + "\",server=\"" + connection(plant) +
               "\",kind=\"custom_sensor\"}";
    }
    [[nodiscard]] std::string state(const plant_server& plant, const std::string& name) const {
        return "opcua_connection_state{server=\"" + connection(plant) +
               "\",opcua_connection_state=\"" + name + "\"}";
    }

    static simulator::plant_options options() {
        return {.users = true, .diagnostics = true, .auto_change = false};
    }

    plant_server plant_{options()};
    plant_server other_{options()};
};

TEST_F(serving, scans_sensors_over_one_session_and_shows_them) {
    std::string sensors = "sensors:\n";
    for (int i = 0; i < 10; ++i) {
        sensors += sensor("s" + std::to_string(i), plant_);
    }
    const serving_probe probe{modules + sensors};
    plant_.set_value("ns=2;s=Boiler.Temperature", 72.5);
    const std::string value = "opcua_custom_boiler_celsius{sensor=\"s9\",server=\"" +
                              connection(plant_) + "\",channel=\"Boiler\"}";
    EXPECT_TRUE(comes_true([&] { return probe.metric(value) == "72.5"; }));
    EXPECT_TRUE(comes_true([&] { return probe.ask("/readyz").starts_with("HTTP/1.1 200"); }));
    EXPECT_EQ(plant_.session_count(), 1U);
    EXPECT_EQ(
        probe.metric("opcua_probe_connects_total{server=\"" + connection(plant_) + "\"}"), "1"
    );
    EXPECT_THAT(
        probe.ask("/metrics", "Accept: application/openmetrics-text; version=1.0.0\r\n"),
        HasSubstr("# TYPE opcua_connection_state stateset")
    );
    const auto state = probe.json("/api/state?language=de&since=0");
    EXPECT_EQ(state.at("sensors").size(), 10U);
    EXPECT_EQ(state.at("sensors").at(0).at("channels").at(0).at("value"), "72.5");
    EXPECT_EQ(state.at("sensors").at(0).at("kind_name"), "OPC UA (benutzerdefiniert)");
    EXPECT_EQ(state.at("servers").at(0).at("state"), "ready");
    const auto id = state.at("sensors").at(0).at("id").dump();
    const auto curves = probe.json("/api/curves?sensors=" + id);
    EXPECT_EQ(curves.at("sensors").at(0).at("channels").at(0).at("high").back(), 72.5);
    EXPECT_THAT(probe.ask("/"), HasSubstr("<html"));
    EXPECT_THAT(probe.ask("/texts/ja.json"), HasSubstr("200 OK"));
    EXPECT_THAT(probe.ask("/../probe.yaml"), HasSubstr("404"));
}

TEST_F(serving, tells_the_page_numbers_in_the_scale_of_limits_and_curves) {
    const serving_probe probe{modules + ("sensors:\n" + sensor("a", plant_, "", "tenths"))};
    plant_.set_value("ns=2;s=Boiler.Temperature", 725.0);
    const std::string both = R"("raw":725.0,"scaled":72.5,)";
    EXPECT_TRUE(comes_true([&] { return probe.ask("/api/state").find(both) != both.npos; }));
}

TEST_F(serving, has_the_key_pair_that_it_needs_before_it_serves) {
    const state_for_tests kept;
    const auto has_pair = [&kept] {
        return std::filesystem::exists(kept.path() + "/client-key-pair");
    };
    {
        const serving_probe probe{
            "modules:\n  a: {kind: server_status_sensor, settings: {security_mode: sign, "
            "client_certificate: x, client_key: {file: probe.yaml}}}\n",
            kept.path()};
        EXPECT_EQ(probe.ask("/readyz").substr(0, 12), "HTTP/1.1 200");
        EXPECT_FALSE(has_pair());
        probe.configure(modules);
        probe.signal(SIGHUP);
        EXPECT_THAT(probe.read_to("read again"), HasSubstr("Configuration read again"));
        EXPECT_TRUE(has_pair());
    }
    EXPECT_TRUE(std::filesystem::remove(kept.path() + "/client-key-pair"));
    const serving_probe probe{modules, kept.path()};
    EXPECT_TRUE(has_pair());
}

TEST_F(serving, follows_servers_that_go_and_return_without_a_flood) {
    const serving_probe probe{
        modules + ("sensors:\n" + sensor("a", plant_) + sensor("b", plant_) + sensor("c", other_))};
    EXPECT_TRUE(comes_true([&] {
        return probe.metric(series("b", plant_)) == "1" && probe.metric(series("c", other_)) == "1";
    }));
    const std::string of_plant = "{server=\"" + connection(plant_) + "\"}";
    plant_.close_all_sessions(); // for which the module has a remedy of its own
    EXPECT_TRUE(comes_true([&] {
        return probe.metric("opcua_probe_retries_total" + of_plant) == "1";
    }));
    plant_.stop();
    EXPECT_TRUE(comes_true([&] {
        return probe.metric(state(plant_, "unreachable")) == "1" &&
               probe.metric(series("a", plant_)) == "0" && probe.metric(series("b", plant_)) == "0";
    }));
    EXPECT_THAT(probe.ask("/metrics"), Not(HasSubstr("opcua_custom_boiler_celsius{sensor=\"a\"")));
    EXPECT_EQ(probe.metric(series("c", other_)), "1");
    const auto shown = probe.json("/api/state").at("sensors").at(0);
    EXPECT_EQ(shown.at("state"), "error");
    EXPECT_EQ(shown.at("stale"), true);
    EXPECT_TRUE(shown.at("last_good").is_number());
    plant_.start();
    EXPECT_TRUE(comes_true([&] { return probe.metric(series("b", plant_)) == "1"; }));
    EXPECT_EQ(plant_.session_count(), 1U);
    EXPECT_EQ(probe.metric("opcua_probe_connects_total" + of_plant), "3");
    const std::string journal = probe.read_to(" reachable again after");
    EXPECT_THAT(
        journal,
        HasSubstr("<3>" + connection(plant_) + " cannot be reached; 2 sensors (a, b): The sensor")
    );
    EXPECT_EQ(std::ranges::count(journal, '\n'), 2) << journal; // whatever was tried in between
}

TEST_F(serving, is_not_held_up_by_a_frozen_server_or_by_clients_that_dribble) {
    const serving_probe probe{modules + ("sensors:\n" + sensor("a", plant_) + sensor("c", other_))};
    EXPECT_TRUE(comes_true([&] { return probe.metric(series("a", plant_)) == "1"; }));
    std::vector<std::unique_ptr<http_client>> dribblers;
    for (int i = 0; i < 300; ++i) {
        dribblers.push_back(std::make_unique<http_client>(probe.port()));
        dribblers.back()->send(
            i % 2 == 0 ? "GET /metr" : "GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n"
        );
    }
    plant_.freeze();
    const std::uint64_t before = other_.read_request_count();
    EXPECT_TRUE(comes_true([&] { return other_.read_request_count() > before + 10; }));
    EXPECT_TRUE(comes_true([&] { return probe.metric(state(plant_, "unreachable")) == "1"; }));
    plant_.thaw();
    EXPECT_TRUE(comes_true([&] { return probe.metric(series("a", plant_)) == "1"; }));
}

TEST_F(serving, reloads_without_touching_what_stays) {
    serving_probe probe{
        modules + ("sensors:\n" + sensor("stays", plant_) + sensor("goes", other_))};
    EXPECT_TRUE(comes_true([&] {
        return plant_.session_count() == 1 && other_.session_count() == 1;
    }));
    probe.configure("sensors: [5]");
    probe.signal(SIGHUP);
    EXPECT_THAT(
        probe.read_to("stays as it was"),
        testing::ContainsRegex("<3>/[^\n]*probe.yaml:2: sensors.0.")
    );
    EXPECT_EQ(other_.session_count(), 1U);
    probe.configure(modules + ("sensors:\n" + sensor("stays", plant_) + sensor("new", plant_)));
    probe.signal(SIGHUP);
    EXPECT_TRUE(comes_true([&] {
        return other_.session_count() == 0 && probe.metric(series("new", plant_)) == "1";
    }));
    EXPECT_TRUE(comes_true([&] {
        return probe.metric(series("goes", other_)).empty() &&
               probe.metric(state(other_, "ready")).empty();
    }));
    EXPECT_EQ(
        probe.metric("opcua_probe_connects_total{server=\"" + connection(plant_) + "\"}"), "1"
    );
    EXPECT_EQ(probe.json("/api/state").at("sensors").size(), 2U);
    probe.signal(SIGTERM);
    EXPECT_EQ(probe.wait_for_end(), 128 + SIGTERM);
    EXPECT_TRUE(comes_true([&] { return plant_.session_count() == 0; }));
}

TEST_F(serving, ends_in_time_although_a_server_is_frozen) {
    serving_probe probe{modules + ("sensors:\n" + sensor("a", plant_) + sensor("c", other_))};
    EXPECT_TRUE(comes_true([&] {
        return plant_.session_count() == 1 && other_.session_count() == 1;
    }));
    plant_.freeze();
    std::this_thread::sleep_for(500ms); // somebody waits for it now
    const auto start = clock::now();
    probe.signal(SIGTERM);
    EXPECT_EQ(probe.wait_for_end(), 128 + SIGTERM);
    EXPECT_LT(clock::now() - start, 25s);
    EXPECT_TRUE(comes_true([&] { return other_.session_count() == 0; }));
    plant_.thaw();
}

TEST_F(serving, tells_a_service_manager_when_it_serves_and_when_it_ends) {
    const notify_socket manager;
    serving_probe probe{modules};
    EXPECT_THAT(manager.take(), testing::StartsWith("READY=1\nSTATUS=Serving http://127.0.0.1:"));
    EXPECT_THAT(probe.ask("/healthz"), HasSubstr("200 OK"));
    probe.configure("nonsense: 1\n");
    probe.signal(SIGHUP);
    EXPECT_THAT(manager.take(), HasSubstr(" as before: the changed configuration is wrong"));
    probe.signal(SIGTERM);
    EXPECT_THAT(manager.take(), testing::StartsWith("STOPPING=1\n"));
    EXPECT_EQ(probe.wait_for_end(), 128 + SIGTERM);
}

TEST_F(serving, probes_what_it_may) {
    const serving_probe probe{std::string{"workers: 2\n"} + modules}; // one for requests
    const std::string target = "127.0.0.1:" + std::to_string(plant_.port());
    const auto ask = [&](const std::string& query, const std::string& headers = "") {
        return probe.ask("/probe?" + query, headers);
    };
    for (const auto& [query, status] : std::vector<std::pair<std::string, std::string>>{
             {"target=" + target, "400"},
             {"module=plant", "400"},
             {"module=plant&target=a/b", "400"},
             {"module=gone&target=" + target, "404"},
             {"module=plant&target=127.0.0.2.example:1", "403"},
             {"module=closed&target=" + target, "403"}}) {
        EXPECT_THAT(ask(query), HasSubstr("HTTP/1.1 " + status)) << query;
    }
    EXPECT_EQ(plant_.session_count(), 0U);
    const std::string good = ask("module=plant&target=" + target);
    EXPECT_THAT(good, HasSubstr("\nopcua_up{sensor=\"" + target));
    EXPECT_THAT(good, HasSubstr("channel=\"Boiler\"}"));
    EXPECT_THAT(ask("module=plant&target=" + target), HasSubstr("kind=\"custom_sensor\"} 1\n"));
    EXPECT_EQ(plant_.session_count(), 1U); // kept for the next time
    const std::string log = ask("module=plant&debug=true&target=" + target);
    EXPECT_THAT(log, HasSubstr("Reading nodes finished"));
    EXPECT_THAT(log, Not(HasSubstr("password1")));
    plant_.freeze();
    const auto start = clock::now();
    const std::string late =
        ask("module=plant&target=" + target, "X-Prometheus-Scrape-Timeout-Seconds: 3.0\r\n");
    EXPECT_LT(clock::now() - start, 3s);
    EXPECT_THAT(late, HasSubstr("kind=\"custom_sensor\"} 0\n"));
    EXPECT_THAT( // nobody waits for that scan any more, but it goes on
        ask("module=plant&target=127.0.0.1:" + std::to_string(other_.port())),
        HasSubstr("HTTP/1.1 503")
    );
    EXPECT_THAT(
        probe.ask("/metrics"), Not(HasSubstr("opcua_connection_state{"))
    ); // of sensors only
    plant_.thaw();
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
