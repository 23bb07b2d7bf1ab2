// The program's browse and endpoints as a person uses them, with a simulated plant.

#include "host/file_descriptor.hpp"
#include "tests/probe/plant_probe.hpp"
#include "tests/support/certificate_factory.hpp"
#include "text/terminal_text.hpp"
#include <sys/ioctl.h>

#include <fcntl.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

[[nodiscard]] std::vector<json> lines_of(const std::string& text) {
    std::vector<json> lines;
    std::istringstream stream{text};
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with('{')) {
            lines.push_back(json::parse(line));
        }
    }
    return lines;
}

[[nodiscard]] std::vector<std::string> words(const std::string& text) {
    std::istringstream stream{text};
    return {std::istream_iterator<std::string>{stream}, {}};
}

/// A number as the sensor delivers it.
[[nodiscard]] double number_of(json value) {
    value = value.is_array() ? value.at(0) : value;
    return value.is_boolean() ? static_cast<double>(value.get<bool>()) : value.get<double>();
}

class browse_program : public plant_probe {};

TEST_F(browse_program, prints_channels_that_the_sensor_takes) {
    plant_.set_display_name("ns=2;s=Boiler.Temperature", "");
    std::map<std::string, json> nodes;
    for (json& node : lines_of(run({"browse", "--format", "json"}, 0))) {
        nodes.insert_or_assign(node["nodeid"], std::move(node));
    }
    std::vector<std::string> wanted = words(
        "ns=2;s=Boiler.Temperature ns=2;s=Boiler.Pressure ns=2;s=Boiler.Running ns=2;i=1001 "
        "ns=2;g=09087e75-8e5e-499b-954f-f2a9603db28a ns=2;s=Array.Doubles ns=2;s=Array.Booleans "
        "ns=2;s=Array.Matrix ns=2;s=Type.EnumValue"
    );
    wanted.emplace_back("ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01");
    std::vector<std::string> scan{"scan", "custom_sensor", "--format", "json"};
    for (const std::string& id : wanted) {
        scan.insert(scan.end(), {"--channel", nodes.at(id)["channel"]});
    }
    const json scanned = lines_of(run(scan, 0)).at(0);
    ASSERT_EQ(scanned["channels"].size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_FLOAT_EQ(
            static_cast<float>(scanned["channels"][i]["scaled"].get<double>()),
            static_cast<float>(number_of(nodes.at(wanted[i])["value"]))
        ) << wanted[i];
    }
    EXPECT_EQ(scanned["channels"][0]["name"], "Boiler Temperature");
    for (const char* none : {"Text.Status", "Type.Structure", "Array.Empty", "Value.Never"}) {
        EXPECT_EQ(nodes.at(std::string{"ns=2;s="} + none)["channel"], nullptr) << none;
    }
    EXPECT_EQ(nodes.at("ns=2;s=Write.Double")["writable"], true);
    EXPECT_EQ(nodes.at("ns=2;s=Write.ReadOnly")["writable"], false);
}

TEST_F(browse_program, shows_a_tree) {
    plant_.set_read_status("ns=2;s=Array.Int32", UA_STATUSCODE_BADSENSORFAILURE);
    const std::string text = run({"browse", "ns=2;s=Array"}, 0);
    EXPECT_THAT(
        text,
        AllOf(
            ContainsRegex("\nArray +Object +ns=2;s=Array\n"),
            ContainsRegex(
                "\n  Double Array +Double\\[4\\] +\\[21.5, 22.25, 23.0, 19.75\\] +r +yes +"
                "'ns=2;s=Array.Doubles'\\[0\\]\n"
            ),
            ContainsRegex("\n  Int32 Array +Int32 +BadSensorFailure +r +ns=2;s=Array.Int32\n"),
            ContainsRegex("\n  Int32 Matrix +Int32\\[2x2\\] +"),
            ContainsRegex("\n  Empty Array +Int32\\[0\\] +\\[\\] +r +ns=2;s=Array.Empty\n")
        )
    );
    EXPECT_THAT(
        run({"browse", "--depth", "1"}, 0),
        AllOf(ContainsRegex("\n  Boiler +\\(\\+3\\) +Object"), HasSubstr("--depth 2 shows them"))
    );
    EXPECT_THAT(
        run({"browse", "--match", "pump"}, 0),
        AllOf(ContainsRegex("\nObjects/Pump/Pump Speed +Int32"), Not(HasSubstr("Boiler")))
    );
    EXPECT_THAT(
        run({"browse", "--depth", "2"}, 0),
        AllOf(
            ContainsRegex("\n  Server +\\(\\+[0-9]+\\) +Object +i=2253\n"),
            Not(HasSubstr("ServerStatus")),
            HasSubstr("(Aliases, Server); --all shows it")
        )
    );
    EXPECT_THAT(run({"browse", "--depth", "2", "--all"}, 0), HasSubstr("\n    ServerStatus "));
    EXPECT_THAT(
        run({"browse", "i=2256", "--depth", "1"}, 0),
        ContainsRegex("\n  State +ServerState +0 \\(Running\\) +r +yes +i=2259\n")
    );
    EXPECT_THAT(
        run({"browse", "--limit", "12", "--match", "no such node"}, 0),
        AllOf(HasSubstr("None of 12 nodes matches"), HasSubstr("limit of 12"))
    );
}

TEST_F(browse_program, tells_what_is_wrong) {
    struct row {
        std::vector<std::string> arguments;
        int code;
        const char* part;
    };
    const row rows[] = {
        {{"browse", "ns=2;s=Nowhere"}, 2, "ns=2;s=Nowhere"},
        {{"browse", "ns=2;x=1"}, 64, "Failed to parse NodeID"},
        {{"browse", "--user", "nobody"}, 2, "BadIdentityTokenRejected"},
        {{"browse", "--set", "prot=1"}, 64, "credentials.connection_opcua.port"},
        {{"browse", "--set", "password=x"}, 64, "secrets come from files"},
        {{"browse", "--security-mode", "sign"}, 64, "opcua-probe certificate create"},
        {{"endpoints", "--set", "port=0"}, 64, "0"},
    };
    for (const row& each : rows) {
        EXPECT_THAT(run(each.arguments, each.code), HasSubstr(each.part));
    }
    plant_.freeze();
    const auto start = std::chrono::steady_clock::now();
    for (const char* command : {"browse", "endpoints"}) {
        EXPECT_THAT(run({command, "--timeout", "1"}, 2), HasSubstr("BadTimeout"));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds{60});
    plant_.stop();
    for (const char* command : {"browse", "endpoints"}) {
        EXPECT_THAT(run({command}, 2), HasSubstr("BadConnectionRejected"));
    }
}

TEST_F(browse_program, lists_endpoints_without_a_session) {
    EXPECT_THAT(
        run({"endpoints", "--user", "nobody"}, 0),
        AllOf(
            ContainsRegex("\nopc.tcp://127.0.0.1:[0-9]+/ +None +None +0 +1 +Anonymous\n"),
            ContainsRegex(" +SignAndEncrypt +Basic256Sha256 +[0-9]+ +1 +Anonymous\n"),
            ContainsRegex("\nCertificate 1\n  common name +Tarvik plant simulator\n"),
            Not(HasSubstr("Certificate 2"))
        )
    );
}

TEST_F(browse_program, keeps_to_the_width_of_the_terminal) {
    const file_descriptor terminal{posix_openpt(O_RDWR | O_NOCTTY)};
    ASSERT_EQ(grantpt(terminal.get()), 0);
    ASSERT_EQ(unlockpt(terminal.get()), 0);
    const winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
    ASSERT_EQ(ioctl(terminal.get(), TIOCSWINSZ, &size), 0);
    const std::string command =
        "NO_COLOR=1 STATE_DIRECTORY=" + own_state() +
        " '" PROBE_PROGRAM "' browse ns=2\\;s=IPC --host 127.0.0.1 --port " +
        std::to_string(plant_.port()) + " 2>/dev/null >" + ptsname(terminal.get());
    const file_descriptor kept{
        open(ptsname(terminal.get()), O_RDWR | O_NOCTTY)}; // until it is read
    // NOLINTNEXTLINE(cert-env33-c): our own program
    ASSERT_EQ(std::system(command.c_str()), 0);
    char bytes[4096]{};
    const ssize_t got = read(terminal.get(), bytes, sizeof bytes);
    std::istringstream lines{
        std::string{bytes, static_cast<std::size_t>(std::max<ssize_t>(got, 0))}};
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_LE(display_width(line.substr(0, line.find('\r'))), 80U) << line;
    }
    EXPECT_GT(count, 9U);
}

TEST(browse_program_secured, browses_as_a_user) {
    simulator::plant_server plant{
        {.anonymous = false,
         .users = true,
         .endpoints = {.none = true, .sign_encrypt = true},
         .auto_change = false}};
    plant.start();
    std::string folder = testing::TempDir() + "probe_browse_XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const auto file = [&folder](const char* name, const std::string& text) {
        std::string path = folder + "/" + name;
        std::ofstream{path} << text;
        return path;
    };
    const auto client =
        test_support::make_certificate(test_support::application_request("urn:tarvik:test:browse"));
    running_probe program{words(
        "browse ns=2;s=Boiler --host 127.0.0.1 --trust any --security-mode sign_encrypt --user "
        "user1 --port " +
        std::to_string(plant.port()) + " --client-certificate " + file("client.pem", client.pem) +
        " --client-key " + file("key.pem", test_support::private_key_pem(client.key)) +
        " --password-file " + file("password.txt", "password1\n")
    )};
    EXPECT_THAT(program.read_all(), ContainsRegex("\n  Boiler Pressure +Float +2.5 +bar +r +yes"));
    EXPECT_EQ(program.exit_code(), 0);
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
