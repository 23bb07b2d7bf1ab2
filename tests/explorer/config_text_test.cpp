// Found nodes as channels of a configuration, whatever a server calls them.

#include "explorer/channels.hpp"
#include "explorer/config_text.hpp"
#include "host/settings_record.hpp"
#include "tests/host/expect_error.hpp"
#include "text/terminal_text.hpp"
#include "text/utf8.hpp"
#include <yaml-cpp/yaml.h>

#include <cstdlib>
#include <set>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

[[nodiscard]] found_node number_at(const std::string& path, const std::string& id) {
    found_node node;
    node.path = path;
    node.plain_name = path.substr(path.rfind('/') + 1);
    node.display_name = node.plain_name;
    node.node_id = id;
    node.value.json = 7;
    node.value.numeric = true;
    node.channel = channel_text(node);
    return node;
}

[[nodiscard]] std::vector<std::string> names_of(const std::vector<std::string>& paths) {
    std::vector<found_node> nodes;
    for (const std::string& path : paths) {
        nodes.push_back(number_at(path, "ns=2;i=" + std::to_string(nodes.size())));
    }
    std::vector<std::string> names;
    for (const chosen_channel& channel : choose_channels(nodes, 100).channels) {
        names.push_back(channel.name);
    }
    return names;
}

TEST(channel_names, are_short_and_tell_nodes_apart) {
    EXPECT_THAT(
        names_of({"Objects/Boiler/Temperature", "Objects/Boiler/Pressure"}),
        ElementsAre("Temperature", "Pressure")
    );
    EXPECT_THAT(
        names_of({"O/L1/Boiler/T", "O/L2/Boiler/T", "O/L2/Pump/T", "O/L2/P"}),
        ElementsAre("L1/Boiler/T", "L2/Boiler/T", "Pump/T", "P")
    );
    EXPECT_THAT(names_of({"O/T", "O/T", "O/T 2"}), ElementsAre("O/T", "O/T 2", "T 2"));
    EXPECT_THAT(names_of({"T", "T", "T 2", "T"}), ElementsAre("T", "T 2", "T 2 2", "T 3"));
    EXPECT_THAT(
        names_of({"O/i", "b", "O/a=b", "'O/ns'"}), ElementsAre("O/i", "Channel b", "a_b", "O/ns")
    );
    const std::string longest(40, 'x');
    EXPECT_THAT(
        names_of({"O/A" + longest, "O/" + longest + "1", "O/" + longest + "2"}),
        ElementsAre(
            "A" + std::string(31, 'x'), std::string(31, 'x') + "1", std::string(31, 'x') + "2"
        )
    );
}

TEST(channel_choice, takes_numbers_and_elements_of_arrays_alone) {
    std::vector<found_node> nodes;
    for (const char* name : {"A", "B", "T", "P", "U", "L", "C"}) {
        nodes.push_back(number_at(name, std::string{"ns=2;s="} + name));
    }
    found_node& array = nodes[0];
    array.value.length = 12;
    array.value.json = nlohmann::ordered_json(std::vector<int>(12, 3));
    array.value.json.at(1) = std::uint64_t{1} << 63;
    nodes[1].value.boolean = true;
    nodes[1].unit = "bar";
    nodes[2].value.time = true;
    nodes[3].property = true;
    nodes[4].channel = ""; // cannot be read
    nodes[5].value.json = ~std::uint64_t{};
    nodes[6].unit = "m\n" + std::string(40, '3');
    const channel_choice all = choose_channels(nodes, 100);
    ASSERT_EQ(all.channels.size(), 11U);
    EXPECT_EQ(all.channels[0].name, "A[0]");
    EXPECT_EQ(all.channels[1].node_id, "'ns=2;s=A'[2]");
    EXPECT_TRUE(all.elements_left);
    EXPECT_FALSE(all.more);
    EXPECT_TRUE(all.channels[9].boolean);
    EXPECT_EQ(all.channels[9].unit, "") << "which a Boolean never has";
    EXPECT_EQ(all.channels[10].unit, "m\\n" + std::string(29, '3'));
    const channel_choice some = choose_channels(nodes, 10);
    EXPECT_EQ(some.channels.size(), 10U);
    EXPECT_TRUE(some.more);
}

const std::string rude_names[] = {
    "a\nmodules: {x: {kind: custom_sensor}}",
    "\"]\nsensors: []\n#",
    "end\\",
    "\\\"",
    "{env: HOME}",
    "{credential: x}",
    "# comment",
    "key: value",
    "- x",
    "a=b",
    "\x1b[31mred\x07",
    "\xff\xfe",
    "a\xed\xa0\x80",
    "\u202eevil\u202c",
    "line\u2028line\u0085line",
    "\ufeffmark",
    "i",
    "ns",
    "'quoted'",
    "\"quoted\"",
    "",
    "   ",
    "\t",
    "&a *a !!binary",
    "---",
    "...",
    "%YAML 1.2",
    "null",
    "~",
    "true",
    "😀 °C",
    std::string(300, 'w'),
    std::string("nul\0nul", 7),
};

TEST(config_text, keeps_rude_names_inside_their_quotation_marks) {
    std::vector<found_node> nodes;
    for (const std::string& name : rude_names) {
        for (const bool boolean : {false, true}) {
            found_node node =
                number_at("Objects/" + name, (boolean ? "ns=3;s=" : "ns=2;s=") + name);
            node.unit = name;
            node.value.boolean = boolean;
            nodes.push_back(std::move(node));
        }
    }
    const channel_choice choice = choose_channels(nodes, 1000);
    EXPECT_EQ(choice.channels.size(), 2 * (std::size(rude_names) - 3))
        << "ids that nothing can hold";
    config_plan plan;
    plan.comments = {rude_names, std::end(rude_names)};
    plan.pki = "{/var: \xff\xc3\xbc}";
    plan.add_values({"plc:4840", {}}, choice.channels);
    const YAML::Node read = YAML::Load(config_text(plan));
    EXPECT_EQ(read.size(), 3U) << "pki, modules and sensors";
    EXPECT_EQ(read["pki"].Scalar(), "{/var: \xef\xbf\xbd\xc3\xbc}");
    std::set<std::string> names;
    std::size_t index = 0;
    for (const auto& entry : read["modules"]) {
        const YAML::Node module = entry.second;
        EXPECT_LE(module["channels"].size(), most_channels);
        for (std::size_t i = 0; i < module["channels"].size(); ++i, ++index) {
            const chosen_channel& wanted = choice.channels.at(index);
            const channel_argument channel = parse_channel(module["channels"][i].Scalar());
            EXPECT_EQ(channel.name, wanted.name);
            EXPECT_EQ(channel.node_id, wanted.node_id);
            EXPECT_EQ(sanitise(channel.name), channel.name);
            EXPECT_LE(character_count(channel.name), 32U);
            EXPECT_TRUE(names.insert(channel.name).second) << channel.name;
            const YAML::Node unit = module["units"][i + 1];
            EXPECT_EQ(unit ? unit.Scalar() : "", wanted.unit);
            EXPECT_EQ(module["states"][channel.name].IsDefined(), wanted.boolean) << channel.name;
        }
    }
    EXPECT_EQ(index, choice.channels.size());
    EXPECT_EQ(read["sensors"].size(), read["modules"].size());
}

TEST(config_text, writes_settings_but_no_secrets) {
    ASSERT_EQ(setenv("OPCUA_PASSWORD", "very secret", 1), 0);
    connection_arguments arguments;
    arguments.host = "PLC-7";
    arguments.port = 4841;
    arguments.path = "/line: 1";
    arguments.user = "{env: HOME}";
    arguments.security_mode = "sign_encrypt";
    arguments.any_certificate = true;
    arguments.plain_password = true;
    arguments.raw = {"port=4842"};
    config_plan plan;
    plan.add_sensor(access_of(arguments), "server_status_sensor", "status", "1m");
    plan.add_sensor(access_of(arguments), "certificate_sensor", "certificate", "12h");
    arguments.host = "fd00::1";
    arguments.raw.clear();
    plan.add_sensor(access_of(arguments), "server_status_sensor", "status", "1m");
    arguments.user = "another";
    plan.add_sensor(access_of(arguments), "server_status_sensor", "status", "1m");
    unsetenv("OPCUA_PASSWORD");
    const std::string text = config_text(plan);
    EXPECT_THAT(text, Not(HasSubstr("very secret")));
    EXPECT_THAT(text, HasSubstr("password: {env: \"OPCUA_PASSWORD\"} # or {file: PATH}"));
    const YAML::Node read = YAML::Load(text);
    const YAML::Node module = read["modules"]["status"];
    EXPECT_EQ(module["trust"].Scalar(), "any");
    EXPECT_EQ(module["plain_password"].Scalar(), "allow");
    const YAML::Node given = module["settings"];
    EXPECT_EQ(given["user"].Scalar(), "{env: HOME}");
    EXPECT_EQ(given["server_name"].Scalar(), "/line: 1");
    EXPECT_EQ(given["security_mode"].Scalar(), "sign_encrypt");
    EXPECT_EQ(given.size(), 4U) << text;
    ASSERT_EQ(read["modules"].size(), 3U) << "sensors with equal settings share one";
    EXPECT_EQ(read["sensors"][0]["target"].Scalar(), "PLC-7:4842");
    EXPECT_EQ(read["sensors"][2]["target"].Scalar(), "[fd00::1]:4841");
    EXPECT_EQ(read["sensors"][2]["module"].Scalar(), "status");
    EXPECT_EQ(read["sensors"][3]["name"].Scalar(), "[fd00::1]:4841 status 2");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
