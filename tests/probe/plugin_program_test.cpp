// The program as a monitoring system calls it: what stands on the first line, exit codes, and an
// end in time.

#include "host/kept_state.hpp"
#include "tests/probe/plant_probe.hpp"
#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class plugin_program : public plant_probe {
  protected:
    [[nodiscard]] std::string scan(std::vector<std::string> more, int code) const {
        more.insert(more.begin(), {"scan", "--format", "plugin", "-t", "120"});
        return run(more, code);
    }
};

TEST_F(plugin_program, answers_with_state_and_performance_data) {
    plant_.set_value("ns=2;s=Boiler.Temperature", 92.5);
    const std::vector<std::string> boiler{
        "custom_sensor", "--channel", "ns=2;s=Boiler.Temperature", "--unit", "1=°C"};
    struct row {
        std::vector<std::string> more;
        int code;
        const char* line; // the first one, but for the server
    };
    const row rows[] = {
        {{"-w", "~:95"}, 0, "OK - Boiler Temperature 92.5 °C at "},
        {{"-w", "90", "-v"}, 1, "WARNING - Boiler Temperature 92.5 °C is above 90 °C (server "},
        {{"-w", "80", "-c", "Boiler Temperature=-5:90"},
         2,
         "CRITICAL - Boiler Temperature 92.5 °C is above 90 °C (server "},
        {{"-c", "Boiler=90"},
         3,
         "UNKNOWN - --critical Boiler: the sensor has no such channel; did you mean Boiler "
         "Temperature? (server "},
        {{"--channel", "ns=2;s=Nowhere", "--language", "de"},
         3,
         "UNKNOWN - Die angegebene NodeID (ns=2;s=Nowhere) ist"},
        {{"-w", "20:10"}, 3, "UNKNOWN - --warning 20:10: "},
        {{"--frobnicate"}, 3, "UNKNOWN - "},
        {{"--module", "/nowhere.so"}, 3, "UNKNOWN - The module could not be loaded"},
    };
    for (const row& each : rows) {
        std::vector<std::string> arguments = boiler;
        arguments.insert(arguments.end(), each.more.begin(), each.more.end());
        // Standard error is in the same pipe: nothing may stand there before the answer.
        const std::string text = scan(arguments, each.code);
        EXPECT_THAT(text, StartsWith(std::string{"OPCUA "} + each.line));
        EXPECT_EQ(
            text.find(" | 'Boiler Temperature'=92.5") != std::string::npos,
            each.code < 3 || text.find("no such channel") != std::string::npos
        ) << text;
    }
}

TEST_F(plugin_program, takes_states_in_place_of_the_lookup_and_of_the_message) {
    plant_.set_value("ns=2;s=Text.Status", "Fault 17: no water");
    const std::vector<std::string> door{
        "custom_sensor",
        "--channel",
        "Door='ns=2;s=Array.Booleans'[1]",
        "--message-node",
        "ns=2;s=Text.Status"};
    struct row {
        std::vector<std::string> more;
        int code;
        const char* text;
    };
    const row rows[] = {
        {{}, 2, "\n[CRITICAL] Door: False (0), an error by the module's lookup\n"},
        {{"--state", "False:warning"}, 1, "OPCUA WARNING - Door is False (server "},
        {{"--state", "none", "--message-state", "fault*:critical"},
         2,
         "OPCUA CRITICAL - the message is Fault 17: no water (server "},
        {{"--state", "Door=Fals:ok"},
         2,
         "the channel Door has no text \"Fals\"; did you mean False?"},
        {{"--state", "Door=False:bad"},
         3,
         "OPCUA UNKNOWN - --state Door=False:bad: \"bad\" is none"},
    };
    for (const row& each : rows) {
        std::vector<std::string> arguments = door;
        arguments.insert(arguments.end(), each.more.begin(), each.more.end());
        EXPECT_THAT(scan(arguments, each.code), HasSubstr(each.text));
    }
}

TEST_F(plugin_program, scans_twice_for_the_growth_of_a_counter) {
    const std::string text =
        scan({"server_status_sensor", "-c", "Rejected Session Count=5", "--interval", "0.2"}, 0);
    EXPECT_THAT(text, HasSubstr("\n[OK] Rejected Session Count: 0.0 /s\n"));
    EXPECT_THAT(text, HasSubstr(" 'Rejected Session Count'=0c "));
}

TEST_F(plugin_program, tells_a_server_that_is_gone_as_it_was_asked_to) {
    plant_.stop();
    EXPECT_THAT(
        scan({"server_status_sensor"}, 2),
        ContainsRegex("^OPCUA CRITICAL - The sensor could not connect [^|]*\n$")
    );
    EXPECT_THAT(
        scan({"server_status_sensor", "--unreachable", "unknown"}, 3), StartsWith("OPCUA UNKNOWN")
    );
}

TEST_F(plugin_program, runs_checks) {
    const auto check = [this](std::vector<std::string> more, int code) {
        more.insert(more.begin(), {"check"});
        more.insert(more.end(), {"--format", "plugin", "-t", "120"});
        return run(more, code);
    };
    EXPECT_THAT(
        check({"connection"}, 0),
        ContainsRegex(
            "^OPCUA OK - a session can be opened at 127.0.0.1:[0-9]+ [|] 'time'=[0-9.]+s\n$"
        )
    );
    EXPECT_THAT(
        check({"endpoint"}, 0), StartsWith("OPCUA OK - an endpoint with this security is offered")
    );
    EXPECT_THAT(
        check({"endpoint", "--user", "nobody"}, 3),
        ContainsRegex("^OPCUA UNKNOWN - The sensor could not find the endpoint [^|]*\nHint: ")
    );
    plant_.stop();
    EXPECT_THAT(
        check({"connection"}, 2),
        ContainsRegex(
            "^OPCUA CRITICAL - The sensor could not connect [^\n|]*\nHint: Nothing listens[^\n]*\n$"
        )
    );
    EXPECT_THAT(
        check({"endpoint", "--unreachable", "unknown"}, 3),
        StartsWith("OPCUA UNKNOWN - The sensor could not get the endpoints from the OPC UA server "
                   "(2158755840 = BadConnectionRejected)")
    );
}

TEST_F(plugin_program, tells_values_time_and_age) {
    const std::string text = scan({"server_status_sensor", "--max-age", "1h"}, 0);
    EXPECT_THAT(text, ContainsRegex("^OPCUA OK - Running, up [0-9].* 'time'=[0-9]+[.][0-9]{6}s\n"));
    plant_.set_value_age("ns=2;s=Boiler.Temperature", 3700s);
    const std::vector<std::string> boiler{
        "custom_sensor", "--channel", "ns=2;s=Boiler.Temperature", "--max-age", "1h"};
    EXPECT_THAT(
        scan(boiler, 2),
        StartsWith("OPCUA CRITICAL - the value of ns=2;s=Boiler.Temperature is 1 h 1 min old, more "
                   "than 1 h (")
    );
    std::vector<std::string> mild = boiler;
    mild.insert(mild.end(), {"--too-old", "warning"});
    EXPECT_THAT(scan(mild, 1), StartsWith("OPCUA WARNING"));
    mild[4] = "2h";
    EXPECT_THAT(scan(mild, 0), StartsWith("OPCUA OK - Boiler Temperature "));
}

/// What the program keeps, in a folder of this test's own.
struct kept_by_plugin : plugin_program {
    [[nodiscard]] std::string scan_here(std::vector<std::string> more) const {
        // On a busy machine, making a key pair takes longer than the plugin's usual patience.
        std::vector<std::string> arguments{
            "scan", "server_status_sensor", "--format=plugin", "-t120"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        running_probe program{at_plant(arguments), state_.path()};
        std::string text = program.read_all();
        EXPECT_EQ(program.exit_code(), 0) << text;
        return text;
    }
    [[nodiscard]] bool has_pair() const {
        return std::filesystem::exists(state_.path() + "/client-key-pair");
    }
    state_for_tests state_;
};

TEST_F(kept_by_plugin, is_a_key_pair_that_is_made_once) {
    constexpr const char* making = "Generating the client's key pair.";
    EXPECT_THAT(scan_here({"-vvv"}), HasSubstr(making));
    EXPECT_TRUE(has_pair());
    EXPECT_THAT(scan_here({"-vvv"}), Not(HasSubstr(making)));
    std::filesystem::permissions(
        state_.path(), std::filesystem::perms::group_read, std::filesystem::perm_options::add
    );
    const std::string text = scan_here({"-vvv"});
    EXPECT_THAT(text, HasSubstr("probe: Not kept: " + state_.path() + ": others may open it"));
    EXPECT_THAT(text, HasSubstr(making));
    EXPECT_THAT(scan_here({}), StartsWith("OPCUA OK")); // of which nobody is told unless he asks
}

/// Runs the program with 2 s of time and expects that it takes that, not much more, and says
/// where it was.
void expect_time_out(
    std::vector<std::string> arguments, const std::string& stage, const std::string& state = ""
) {
    arguments.insert(arguments.begin(), {"scan", "server_status_sensor", "--format=plugin", "-t2"});
    const auto start = std::chrono::steady_clock::now();
    running_probe program{arguments, state};
    EXPECT_EQ(program.read_all(), "OPCUA UNKNOWN - timed out after 2 s while " + stage + "\n");
    EXPECT_EQ(program.exit_code(), 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST(plugin_time_out, holds_for_a_server_that_never_answers) {
    const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(bind(listening, raw, size), 0);
    ASSERT_EQ(listen(listening, 5), 0);
    ASSERT_EQ(getsockname(listening, raw, &size), 0);
    const std::string port = std::to_string(ntohs(address.sin_port));
    // Whatever the machine is, the key pair is there when the time begins.
    running_probe{{"scan", "server_status_sensor", "-H", "127.0.0.1", "-p", "1"}}.read_all();
    expect_time_out({"-H", "127.0.0.1", "-p", port}, "connecting to 127.0.0.1:" + port);
    close(listening);
}

TEST(plugin_time_out, tells_a_key_pair_that_is_being_made_from_a_server_that_is_slow) {
    const state_for_tests state;
    // Another process, as the program sees it: it found nothing, and makes something.
    kept_state maker{nullptr, state.path(), [](const std::string&) {}};
    ASSERT_FALSE(maker.load("key"));
    expect_time_out({"-H", "127.0.0.1"}, "generating the client's key pair", state.path());
}

TEST(plugin_time_out, holds_for_files_that_nobody_writes) {
    const std::string pipe =
        std::filesystem::temp_directory_path() / ("plugin-pipe-" + std::to_string(getpid()));
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    expect_time_out({"-H", "h", "--module", pipe}, "loading the module");
    expect_time_out({"-H", "h", "--user", "u", "--password-file", pipe}, "reading the settings");
    std::filesystem::remove(pipe);
}

TEST(plugin_version, is_not_ok) {
    const std::pair<std::vector<std::string>, int> rows[] = {
        {{"-V"}, 3},
        {{"scan", "-V"}, 3},
        {{"--version"}, 0},
        {{"--version", "--format=plugin"}, 3}};
    for (const auto& [arguments, code] : rows) {
        running_probe program{arguments};
        EXPECT_THAT(program.read_all(), ContainsRegex("^opcua-probe [0-9.]+\n$"));
        EXPECT_EQ(program.exit_code(), code);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
