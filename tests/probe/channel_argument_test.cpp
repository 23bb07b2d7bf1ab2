// Channels as people give them, on the command line and in a configuration.

#include "host/settings_record.hpp"
#include "tests/host/expect_error.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

TEST(channel_argument, tells_names_from_node_ids) {
    struct row {
        const char* argument;
        const char* name;
        const char* node_id;
    };
    const row rows[] = {
        {"ns=2;s=X", "", "ns=2;s=X"},
        {"ns=2;s=X=Y", "", "ns=2;s=X=Y"},
        {"i=2258", "", "i=2258"},
        {"s=X", "", "s=X"},
        {"g=09087e75-8e5e-499b-954f-f2a9603db28a", "", "g=09087e75-8e5e-499b-954f-f2a9603db28a"},
        {"b=YWJj", "", "b=YWJj"},
        {"b=ns==", "", "b=ns=="},
        {"b=nsu=", "", "b=nsu="},
        {"s='X'", "", "s='X'"},
        {"X=s=ns=2;s=X", "X", "s=ns=2;s=X"},
        {"nsu=http://x/;i=1", "", "nsu=http://x/;i=1"},
        {"'ns=2;s=A'[3]", "", "'ns=2;s=A'[3]"},
        {"\"ns=2;s=A\"[3]", "", "\"ns=2;s=A\"[3]"},
        {"nonsense", "", "nonsense"}, // the module tells what is wrong with it
        {"Boiler=ns=2;s=X", "Boiler", "ns=2;s=X"},
        {"Boiler 1 °C=i=5", "Boiler 1 °C", "i=5"},
        {"NS=ns=2;s=X", "NS", "ns=2;s=X"},
        {"B=ns=2;s=X", "B", "ns=2;s=X"},
        {"A='ns=2;s=A'[3]", "A", "'ns=2;s=A'[3]"},
    };
    for (const row& each : rows) {
        const channel_argument channel = parse_channel(each.argument);
        EXPECT_EQ(channel.name, each.name) << each.argument;
        EXPECT_EQ(channel.node_id, each.node_id) << each.argument;
    }
    for (const char* bad : {"", "=i=5", "Name="}) {
        expect_error([&] { (void)parse_channel(bad); }, exit_code::usage, "is empty");
    }
    for (const char* bad :
         {"b=ns=2;s=X",
          "s=i=5",
          "i=i=5",
          "g=s=X",
          "ns=nsu=urn:x;i=1",
          "svr=b=YQ==",
          "b='ns=2;s=A'[3]"}) {
        expect_error([&] { (void)parse_channel(bad); }, exit_code::usage, "begins a NodeID");
    }
}

TEST(channel_argument, gives_units_and_scales_to_the_numbered_channels) {
    const auto channels = parse_channels({"i=1", "i=2"}, {"2=a=b"}, {"1=0.5", "2="});
    EXPECT_EQ(channels[0].unit, "");
    EXPECT_EQ(channels[0].scale, "0.5");
    EXPECT_EQ(channels[1].unit, "a=b");
    for (const char* bad :
         {"", "1", "=x", "0=x", "3=x", "-1=x", "1 =x", "99999999999999999999=x"}) {
        expect_error(
            [&] {
                (void)parse_channels({"i=1", "i=2"}, {bad}, {});
            },
            exit_code::usage,
            "--unit"
        );
    }
    expect_error(
        [] {
            (void)parse_channels({"i=1"}, {}, {"1=1", "1=2"});
        },
        exit_code::usage,
        "twice"
    );
    expect_error(
        [] { (void)parse_channels(std::vector<std::string>(11, "i=1"), {}, {}); },
        exit_code::usage,
        "at most 10"
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
