// `opcua-probe serve` and servers that it does not trust, has come to trust, and sees exchanged.

#include "simulator/plant_server.hpp"
#include "tests/exporter/serving_probe.hpp"
#include "tests/probe/running_probe.hpp"

#include <filesystem>
#include <memory>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

namespace fs = std::filesystem;
using simulator::plant_server;
using testing::HasSubstr;

simulator::plant_options secured(std::uint16_t port = 0) {
    return {.port = port, .endpoints = {.none = true, .sign_encrypt = true}};
}

std::string configuration(std::uint16_t port, const std::string& more = "") {
    return "modules:\n  status: {kind: server_status_sensor, settings: {security_mode: "
           "sign_encrypt}" +
           more +
           "}\nsensors:\n  - {name: s, module: status, interval: 200ms, target: \"127.0.0.1:" +
           std::to_string(port) + "\"}\n";
}

struct serve_trust : testing::Test {
    state_for_tests state;
    fs::path pki = fs::path{state.path()} / "pki";

    void make_certificate() const {
        running_probe program{{"certificate", "create"}, state.path()};
        static_cast<void>(program.read_all());
        ASSERT_EQ(program.exit_code(), 0);
    }
};

TEST_F(serve_trust, follows_the_folder_while_it_runs) {
    make_certificate();
    auto plant = std::make_unique<plant_server>(secured());
    plant->start();
    const std::uint16_t port = plant->port();
    const serving_probe probe{configuration(port), state.path()};
    const auto server_is = [&](const std::string& wanted) {
        const auto known = probe.json("/api/state");
        return known["servers"].size() == 1 && known["servers"][0]["state"] == wanted;
    };
    ASSERT_TRUE(comes_true([&] { return server_is("untrusted_server"); }));
    const auto shown = probe.json("/api/state");
    EXPECT_THAT(
        shown["servers"][0]["hint"].get<std::string>(), HasSubstr("opcua-probe trust accept")
    );
    EXPECT_THAT(
        shown["sensors"][0]["hint"].get<std::string>(), HasSubstr("opcua-probe trust accept")
    );
    EXPECT_THAT(
        shown["sensors"][0]["message"].get<std::string>(), HasSubstr("BadCertificateUntrusted")
    );

    fs::create_directories(pki / "trusted");
    fs::copy(pki / "rejected/certs", pki / "trusted/certs"); // as a person does by hand
    ASSERT_TRUE(comes_true([&] { return server_is("ready"); }));
    EXPECT_EQ(probe.json("/api/state")["sensors"][0]["hint"], "");
    const std::string metrics = probe.ask("/metrics");
    EXPECT_THAT(metrics, HasSubstr("\nopcua_probe_own_certificate_remaining_days 1824\n"));
    EXPECT_THAT(
        metrics,
        HasSubstr(
            "\nopcua_probe_server_certificate_remaining_days{server=\"127.0.0.1:" +
            std::to_string(port) + "\",name=\"Tarvik plant simulator\"} 364\n"
        )
    );

    plant.reset();
    plant = std::make_unique<plant_server>(secured(port));
    plant->start();
    ASSERT_TRUE(comes_true([&] { return server_is("untrusted_server"); }));
    EXPECT_THAT(
        probe.json("/api/state")["servers"][0]["hint"].get<std::string>(), HasSubstr("HAS CHANGED")
    );
    EXPECT_THAT(
        probe.ask("/metrics"), HasSubstr("opcua_connection_state=\"untrusted_server\"} 1\n")
    );
}

TEST_F(serve_trust, needs_a_certificate_and_one_mind) {
    const auto check = [this](const std::string& text, const std::string& problem) {
        const fs::path file = fs::path{state.path()} / "probe.yaml";
        std::ofstream{file} << text;
        fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
        running_probe program{{"serve", "--check", "--config", file}, state.path()};
        EXPECT_THAT(program.read_all(), HasSubstr(problem));
        EXPECT_EQ(program.exit_code(), problem == "is right" ? 0 : 64);
    };
    check(configuration(4840), "opcua-probe certificate create");
    make_certificate();
    check(configuration(4840), "is right");
    check(configuration(4840, ", trust: any"), "is right");
    check(configuration(4840, ", trust: all"), "expected list or any");
    check(
        "modules:\n  a: {kind: server_status_sensor}\n  b: {kind: certificate_sensor, trust: "
        "any}\n",
        "differ from those of \"a\""
    );
    const std::string paths =
        "modules:\n  a: {kind: server_status_sensor, settings: {server_name: x}}\n"
        "  b: {kind: certificate_sensor, trust: any";
    check(paths + ", settings: {server_name: y}}\n", "is right");
    check(paths + "}\n", "differ from those of \"a\""); // a target's URL may have the path x
    check("pki: elsewhere\n" + configuration(4840), "opcua-probe certificate create");
    check("listen: {address: 0.0.0.0, basic_auth: {user: u, password: p}}\n", "plain_http: allow");
    fs::permissions(pki, fs::perms::others_write, fs::perm_options::add);
    check(configuration(4840), "is right"); // tells it when it matters: no server is trusted then
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
