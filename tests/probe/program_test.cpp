// The program as a person uses it, with the built module and a plant: what it prints, how it ends.

#include "tests/probe/plant_probe.hpp"

#include <algorithm>
#include <cstdint>
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

class probe_program : public plant_probe {
  protected:
    /// @param more an option
    std::string notify(
        const std::string& node,
        const std::string& type,
        const std::string& message,
        int code,
        const std::string& more = "--format=table"
    ) const {
        return run(
            {"notify", "--target", node, "--type=" + type, "--message", message, more}, code
        );
    }

    [[nodiscard]] std::string shown(const char* node) const {
        return simulator::value_text(plant_.get_value(node).get());
    }
};

TEST_F(probe_program, scans_every_kind_of_sensor) {
    const UA_DateTime start = UA_DATETIME_UNIX_EPOCH;
    plant_.set_value("ns=0;i=2257", simulator::date_time(start).get());
    plant_.set_value("ns=0;i=2258", simulator::date_time(start + 187'654 * UA_DATETIME_SEC).get());
    plant_.set_value("ns=0;i=2259", std::int32_t{1});
    plant_.set_value("ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x01", std::uint8_t{3});
    plant_.set_value("ns=2;s=Modules|RAID Controller|Scsi0:|0x8nn1|0x02", std::uint8_t{2});
    struct row {
        std::vector<std::string> arguments;
        int code;
        std::vector<std::string> parts; // regular expressions
    };
    const row rows[] = {
        {{"custom_sensor",
          "--channel=Zone='ns=2;s=Array.Doubles'[1]",
          "--unit=1=bar",
          "--message-node=ns=2;s=Text.Status"},
         0,
         {"\nOK: All systems normal\n", " Zone +22\\.25 bar\n"}},
        {{"certificate_sensor"}, 0, {"\nOK: ", " 2048 bit +ok\n", " Yes +ok +1\n"}},
        {{"server_status_sensor"},
         0,
         {" Failed +error +1\n", " Uptime +2 d 4 h +187654\n", " Rejected Session Count +- +0\n"}},
        {{"beckhoff_ipc_system_status_sensor"},
         0,
         {"\nOK: The physical interface",
          " CPU % +[0-9]+ %\n",
          " 54 °C\n",
          " 9\\.0 GiB +9663676416\n",
          " Offline +warning +3\n"}},
        {{"custom_sensor", "--channel", "ns=2;s=Nowhere"},
         2,
         {"\nERROR: .*ns=2;s=Nowhere.* is unknown"}},
        {{"status"},
         64,
         {"scan status: there is no such sensor; did you mean [a-z_ ]*server_status_sensor"}},
        {{"custom", "--channel", "i=1"}, 64, {"did you mean custom_sensor\\?"}},
    };
    for (const row& each : rows) {
        std::vector<std::string> arguments = each.arguments;
        arguments.insert(arguments.begin(), "scan");
        const std::string text = run(arguments, each.code);
        for (const std::string& part : each.parts) {
            EXPECT_THAT(text, ContainsRegex(part));
        }
    }
}

TEST_F(probe_program, tells_once_why_an_endpoint_does_not_fit) {
    const std::string reason = "\n  debug    runtime: Rejecting Endpoint "; // the secured one
    for (const char* level : {"warning", "debug"}) {
        const std::string text =
            run({"check", "endpoint", "--user", "nobody", "--log-level", level}, 2);
        ASSERT_THAT(text, HasSubstr(reason));
        EXPECT_EQ(text.find(reason), text.rfind(reason)) << text;
    }
}

TEST_F(probe_program, shows_how_counters_grow_and_warns_when_they_are_gone) {
    // More scans than needed, because the first two follow each other as fast as the machine lets
    // them.
    running_probe program{
        at_plant({"scan", "server_status_sensor", "--count", "8", "--interval", "0.5"})};
    EXPECT_THAT(program.read_to("Subscription Count"), ContainsRegex("Rejected Session Count +- "));
    plant_.set_value("ns=0;i=3705", std::uint32_t{30});
    const auto grows = ContainsRegex(" Rejected Session Count +[1-9][0-9]*\\.[0-9] /s +30\n");
    std::string line = "\n";
    while (!line.empty() && !testing::Value(line, grows)) {
        line = program.read_to("\n");
    }
    EXPECT_THAT(line, grows);
    plant_.set_diagnostics(false);
    const std::string rest = program.read_all();
    const std::string warned = rest.substr(std::min(rest.find("\nWARNING: "), rest.size()));
    EXPECT_THAT(warned, AllOf(HasSubstr("Uptime"), Not(HasSubstr("Session Count"))));
    EXPECT_EQ(program.exit_code(), 1);
}

TEST_F(probe_program, checks_and_tells_why_not) {
    EXPECT_THAT(run({"check", "endpoint"}, 0), HasSubstr(": success\n"));
    EXPECT_THAT(
        run({"check", "connection", "--user", "nobody"}, 2),
        ContainsRegex(
            ": failed\n  The sensor could not connect [^\n]*BadIdentityTokenRejected[^\n]*\n"
            "  Hint: The server does not take this login [^\n]*\n  info "
        )
    );
    const json answer =
        json::parse(run({"check", "connection", "--user", "nobody", "--format", "json"}, 2));
    EXPECT_EQ(answer["status_name"], "BadIdentityTokenRejected");
    EXPECT_THAT(answer["hint"].get<std::string>(), HasSubstr("opcua-probe endpoints"));
    EXPECT_THAT(
        run({"check", "endpoint", "--security-mode", "sign"}, 64),
        HasSubstr("opcua-probe certificate create")
    );
}

TEST_F(probe_program, says_what_to_do_about_a_server_out_of_reach) {
    plant_.stop();
    const std::string hint = "Unter dieser Adresse und diesem Port lauscht nichts";
    const std::vector<std::vector<std::string>> commands{
        {"scan", "certificate_sensor"},
        {"scan", "certificate_sensor", "--format", "json"},
        {"scan", "server_status_sensor", "--format", "plugin", "-t", "60"},
        {"check", "endpoint"},
        {"check", "connection", "--format", "json"},
        {"check", "connection", "--format", "plugin", "-t", "60"},
        {"notify", "--target", "i=1", "--type", "Boolean", "--message", "True"},
        {"browse"},
        {"endpoints"}};
    for (std::vector<std::string> arguments : commands) {
        arguments.insert(arguments.end(), {"--language", "de"});
        const std::string text = run(arguments, 2);
        EXPECT_THAT(text, HasSubstr(hint)) << arguments.front();
        EXPECT_THAT(text, HasSubstr("BadConnectionRejected")) << arguments.front();
    }
    EXPECT_THAT(
        run({"scan", "certificate_sensor"}, 2), HasSubstr("(2158755840 = BadConnectionRejected)")
    );
}

TEST_F(probe_program, writes_values) {
    struct row {
        const char* node;
        const char* type;
        const char* message;
        std::string written;
        std::string value;
    };
    const row rows[] = {
        {"ns=2;s=Write.Int64", "Integer64", "-42 pieces", "Integer64 \"-42 pieces\"", "-42"},
        {"ns=2;s=Write.Boolean", "Boolean", "True", "Boolean True", "true"},
        {"ns=2;s=Write.String", "String", "", "String \"\"", "\"\""},
    };
    for (const row& each : rows) {
        EXPECT_EQ(
            notify(each.node, each.type, each.message, 0),
            "Written: " + each.written + " to " + each.node + "\n"
        );
        EXPECT_EQ(shown(each.node), each.value);
    }
}

TEST_F(probe_program, tells_why_it_did_not_write) {
    EXPECT_THAT(
        notify("ns=2;s=Write.Int64", "Integer64", "many", 2),
        AllOf(
            ContainsRegex("^  error    could not parse value"),
            ContainsRegex("\nNot written: There is no number[^\n]*\n$")
        )
    );
    EXPECT_EQ(shown("ns=2;s=Write.Int64"), "0");
    plant_.stop();
    EXPECT_THAT(
        notify("ns=2;s=Write.Int64", "Integer64", "1", 2),
        HasSubstr("\nNot written: The sensor could not connect")
    );
}

TEST_F(probe_program, shows_collected_lines_once) {
    const std::string text = notify("ns=2;s=Write.Int64", "Integer64", "1", 0, "--log-level=debug");
    EXPECT_THAT(text, HasSubstr("\n  debug    Writing node value finished"));
    EXPECT_EQ(text.find("Writing node value"), text.rfind("Writing node value")) << text;
}

TEST_F(probe_program, answers_a_notification_in_json) {
    const json answer =
        json::parse(notify("ns=2;s=Write.ReadOnly", "Boolean", "True", 2, "--format=json"));
    EXPECT_EQ(answer["type"], "notification_response");
    ASSERT_EQ(answer["log"].size(), 2U);
    EXPECT_EQ(answer["log"][0]["text"], "NodeID ns=2;s=Write.ReadOnly failed: BadNotWritable");
    EXPECT_EQ(answer["status"], "failed");
    EXPECT_EQ(answer["written"], false);
    EXPECT_THAT(
        answer["reason"].get<std::string>(),
        AllOf(HasSubstr("BadNotWritable"), Not(HasSubstr("Exception in")))
    );
}

TEST(probe_program_demo, shows_everything_and_reads_back_what_it_wrote) {
    running_probe program{{"demo", "--format", "json"}};
    std::istringstream lines{program.read_all()};
    EXPECT_EQ(program.exit_code(), 0) << lines.str();
    std::string sequence;
    std::string last_message;
    for (std::string line; std::getline(lines, line);) {
        const json object = json::parse(line);
        const std::string type = object["type"];
        sequence += type == "sensor_scan_result" ? object["sensor_id"].dump() : type;
        sequence += " ";
        last_message = object.value(json::json_pointer{"/message/text"}, "");
    }
    EXPECT_EQ(sequence, "check_result check_result 1 1 1 2 3 3 4 notification_response 5 ");
    EXPECT_EQ(last_message, "Boiler cleaned");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
