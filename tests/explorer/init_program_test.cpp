// Configurations made by the built program, which serve is to run with.

#include "simulator/plant_server.hpp"
#include "tests/exporter/serving_probe.hpp"
#include "tests/probe/running_probe.hpp"
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using simulator::plant_server;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using texts = std::vector<std::string>;

[[nodiscard]] std::string address_of(const plant_server& plant) {
    return "127.0.0.1:" + std::to_string(plant.port());
}

struct init_program : testing::Test {
    init_program() {
        umask(022);
        plant.start();
    }

    struct outcome {
        std::string text;
        int code;
    };
    [[nodiscard]] outcome run(const texts& arguments) const {
        running_probe program{arguments}; // with the one key pair of all tests
        std::string text = program.read_all();
        return {text, program.exit_code()};
    }
    [[nodiscard]] outcome init(texts arguments) const {
        arguments.insert(arguments.begin(), "init");
        arguments.insert(arguments.end(), {"--output", file});
        return run(arguments);
    }
    [[nodiscard]] std::string written() const {
        std::ifstream stream{file};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }
    /// Expects that serve takes it.
    void check(const std::string& configuration) const {
        const std::string path = state.path() + "/checked.yaml";
        std::ofstream{path} << configuration;
        const outcome checked = run({"serve", "--config", path, "--check"});
        EXPECT_EQ(checked.code, 0) << checked.text << configuration;
    }

    state_for_tests state; // for files alone
    const texts pki{"--pki", state.path() + "/pki"};
    const std::string file = state.path() + "/probe.yaml";
    plant_server plant{{.endpoints = {.none = true, .sign_encrypt = true}, .auto_change = false}};
};

TEST_F(init_program, makes_what_serve_runs_with) {
    const outcome made = init({"opc.tcp://" + address_of(plant) + "/", address_of(plant)});
    EXPECT_EQ(made.code, 0) << made.text;
    EXPECT_THAT(
        made.text,
        AllOf(
            HasSubstr("security none, 10 values"),
            HasSubstr("there are more"),
            HasSubstr("it offers sign_encrypt: opcua-probe certificate create"),
            HasSubstr("Next: opcua-probe serve --config " + file)
        )
    );
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0640});
    EXPECT_THAT(
        written(),
        AllOf(
            HasSubstr("units: {1: \"°C\", 2: \"bar\", 4: \"1/min\", 6: \"%\"}\n"),
            HasSubstr("states: {\"Boiler Running\": none}\n")
        )
    );
    check(written());
    const serving_probe serving{written()};
    EXPECT_TRUE(comes_true([&] { return serving.ask("/readyz").starts_with("HTTP/1.1 200"); }));
    const std::string metrics = serving.ask("/metrics");
    for (const char* sensor : {"status", "certificate", "values"}) {
        EXPECT_THAT(
            metrics, HasSubstr("opcua_up{sensor=\"" + address_of(plant) + " " + sensor + "\"")
        );
    }
    EXPECT_THAT(metrics, Not(ContainsRegex("opcua_up\\{[^}]*\\} 0")));
    EXPECT_THAT(metrics, ContainsRegex("Boiler Temperature[^\n]* 72.5"));
}

TEST_F(init_program, replaces_a_file_only_when_told_to) {
    std::ofstream{file} << "mine";
    const outcome refused = init({address_of(plant)});
    EXPECT_EQ(refused.code, 64);
    EXPECT_THAT(refused.text, HasSubstr("--force"));
    EXPECT_EQ(written(), "mine");
    EXPECT_EQ(init({address_of(plant), "--force", "--values", "0"}).code, 0);
    EXPECT_THAT(
        written(), AllOf(HasSubstr("server_status_sensor"), Not(HasSubstr("custom_sensor")))
    );
    const outcome nowhere =
        run({"init", address_of(plant), "--output", state.path() + "/missing/probe.yaml"});
    EXPECT_EQ(nowhere.code, 2);
    EXPECT_THAT(nowhere.text, HasSubstr("cannot be written"));
}

TEST_F(init_program, goes_on_where_a_server_is_down) {
    plant_server other{{.auto_change = false}};
    other.start();
    const std::string down = address_of(other);
    other.stop();
    const outcome made = init({down, address_of(plant)});
    EXPECT_EQ(made.code, 2);
    EXPECT_THAT(made.text, HasSubstr(down + ": Left out: "));
    EXPECT_THAT(
        written(), AllOf(HasSubstr("# Not in here: " + down), HasSubstr("Boiler Temperature"))
    );
    check(written());
    plant.stop();
    const outcome none = init({down, address_of(plant), "--force"});
    EXPECT_EQ(none.code, 2);
    EXPECT_THAT(none.text, HasSubstr("There is no sensor to write"));
    EXPECT_THAT(written(), HasSubstr("Boiler Temperature")) << "what was there stays";
}

TEST_F(init_program, does_not_go_back_to_no_security) {
    ASSERT_EQ(run({"certificate", "create", pki[0], pki[1]}).code, 0);
    const outcome first = init({address_of(plant), pki[0], pki[1]});
    EXPECT_EQ(first.code, 2);
    EXPECT_THAT(first.text, HasSubstr("opcua-probe trust accept " + address_of(plant)));
    EXPECT_THAT(
        written(),
        AllOf(
            HasSubstr("security_mode: \"sign_encrypt\""),
            HasSubstr("certificate_sensor"),
            Not(HasSubstr("custom_sensor"))
        )
    );
    check(written());
    const std::string der = state.path() + "/server.der";
    std::ofstream{der, std::ios::binary}.write(
        reinterpret_cast<const char*>(plant.certificate().data()),
        static_cast<std::streamsize>(plant.certificate().size())
    );
    ASSERT_EQ(run({"trust", "add", der, pki[0], pki[1]}).code, 0);
    const outcome second = init({address_of(plant), "--force", pki[0], pki[1]});
    EXPECT_EQ(second.code, 0) << second.text;
    EXPECT_THAT(second.text, HasSubstr("security sign_encrypt, 10 values"));
    EXPECT_THAT(written(), HasSubstr("custom_sensor"));
    check(written());
}

TEST_F(init_program, leaves_out_servers_that_refuse_a_user) {
    plant_server users{{.anonymous = false, .users = true, .auto_change = false}};
    users.start();
    std::ofstream{state.path() + "/pw"} << "wrong";
    std::filesystem::permissions(state.path() + "/pw", std::filesystem::perms::owner_read);
    const texts as_user{
        "--user", "user1", "--plain-password", "allow", "--password-file", state.path() + "/pw"};
    texts arguments{address_of(users)};
    const outcome anonymous = init(arguments);
    EXPECT_EQ(anonymous.code, 2);
    EXPECT_THAT(anonymous.text, HasSubstr("without a user name"));
    arguments.insert(arguments.end(), as_user.begin(), as_user.end());
    const outcome refused = init(arguments);
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.text, HasSubstr("There is no sensor to write"));
    EXPECT_FALSE(std::filesystem::exists(file)) << "each scan would be a wrong login";
    std::filesystem::remove(state.path() + "/pw");
    std::ofstream{state.path() + "/pw"} << "password1";
    std::filesystem::permissions(state.path() + "/pw", std::filesystem::perms::owner_read);
    EXPECT_EQ(init(arguments).code, 0);
    EXPECT_THAT(
        written(),
        AllOf(
            HasSubstr("password: {file: \"" + state.path() + "/pw\"}"), Not(HasSubstr("password1"))
        )
    );
    check(written());
}

TEST_F(init_program, takes_the_nodes_that_were_chosen) {
    const outcome made = init(
        {address_of(plant),
         "--node",
         "ns=2;s=Array",
         "--node",
         "ns=2;s=Pump.Speed",
         "--node",
         "ns=2;s=Pump"}
    );
    EXPECT_EQ(made.code, 0) << made.text;
    EXPECT_THAT(made.text, HasSubstr("16 values"));
    EXPECT_THAT(
        written(),
        AllOf(
            HasSubstr("\"Double Array[3]='ns=2;s=Array.Doubles'[3]\""),
            HasSubstr("values-127-0-0-1-" + std::to_string(plant.port()) + "-2:"),
            HasSubstr("\"Pump Speed=ns=2;s=Pump.Speed\""),
            Not(HasSubstr("Pump Speed 2"))
        )
    );
    check(written());
    EXPECT_EQ(init({address_of(plant), "--force", "--node", "ns=2;x=1"}).code, 64);
    EXPECT_EQ(init({"opc.tcp://" + address_of(plant) + "/line/1", "--force"}).code, 0);
    EXPECT_THAT(written(), HasSubstr("server_name: \"line/1\""));
    EXPECT_EQ(init({address_of(plant), "--force", "--node", "ns=2;s=Nowhere"}).code, 2);
}

TEST_F(init_program, browse_writes_what_serve_takes) {
    const texts browse{
        "browse",
        "--host",
        "127.0.0.1",
        "--port",
        std::to_string(plant.port()),
        "--format",
        "config"};
    const outcome all = run(browse);
    EXPECT_EQ(all.code, 0);
    EXPECT_THAT(all.text, AllOf(HasSubstr("Int64 Maximum"), Not(HasSubstr("UInt64 Maximum"))));
    EXPECT_THAT(all.text, Not(HasSubstr("Clock Now"))) << "a time is no number for people";
    check(all.text.substr(0, all.text.find("opcua-probe: What the server")));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
