// What `opcua-probe serve` says to do about faults, and which targets it takes as URLs.

#include "simulator/plant_server.hpp"
#include "tests/exporter/serving_probe.hpp"

#include <tuple>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using simulator::plant_server;
using testing::HasSubstr;

struct serve_guidance : testing::Test {
    serve_guidance() {
        plant.start();
        address = "127.0.0.1:" + std::to_string(plant.port());
    }

    plant_server plant{simulator::plant_options{}};
    std::string address; // of the plant, also while it is stopped
    const std::string modules =
        "modules:\n"
        "  any: {kind: server_status_sensor, targets: [\"127.0.0.1:*\"]}\n"
        "  line: {kind: server_status_sensor, targets: [\"127.0.0.1:*\"], settings: {server_name: "
        "Line/1}}\n";
};

TEST_F(serve_guidance, hints_stand_beside_messages_in_their_language) {
    plant.stop();
    const serving_probe probe{
        modules + "sensors:\n  - {name: s, module: any, interval: 200ms, target: \"opc.tcp://" +
        address + "\"}\n"};
    const auto sensor = [&probe](const std::string& language) {
        return probe.json("/api/state?language=" + language)["sensors"][0];
    };
    ASSERT_TRUE(comes_true([&] { return sensor("en")["state"] == "error"; }));
    const std::string german = "Unter dieser Adresse und diesem Port lauscht nichts";
    EXPECT_THAT(sensor("de")["hint"].get<std::string>(), HasSubstr(german));
    EXPECT_THAT(
        probe.json("/api/state?language=de")["servers"][0]["hint"].get<std::string>(),
        HasSubstr(german)
    );
    EXPECT_THAT(sensor("de")["message"].get<std::string>(), HasSubstr("BadConnectionRejected"));
    const std::string query = "/probe?module=any&target=" + address;
    EXPECT_THAT(probe.ask(query + "&debug=true"), HasSubstr("\nNothing listens at this address"));
    plant.start();
    ASSERT_TRUE(comes_true([&] { return sensor("de")["state"] == "ok"; }));
    EXPECT_EQ(sensor("de")["hint"], "");
}

TEST_F(serve_guidance, urls_widen_no_targets) {
    const serving_probe probe{modules};
    const std::string url = "opc.tcp://" + address;
    const std::tuple<std::string, std::string, const char*> rows[] = {
        {"any", url, "200"},
        {"any", url + "/", "200"},
        {"any", "OPC.TCP://" + address, "200"},
        {"any", url + "/Line/1", "403"},
        {"any", "opc.tcp://10.0.0.7", "403"},
        {"any", "opc.https://" + address, "400"},
        {"any", "opc.tcp://user@" + address, "400"},
        {"any", address + "/24", "400"},
        {"line", address, "200"},
        {"line", url + "/Line/1", "200"},
        {"line", url + "/Line/2", "403"},
        {"line", url + "/Line", "403"},
        {"line", url + "/Line/1/2", "403"},
        {"line", url + "/line/1", "403"},
    };
    for (const auto& [module, target, status] : rows) {
        EXPECT_THAT(
            probe.ask("/probe?module=" + module + "&target=" + target),
            HasSubstr(std::string{"HTTP/1.1 "} + status)
        ) << target;
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
