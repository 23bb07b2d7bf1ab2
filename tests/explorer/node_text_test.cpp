// Texts made of what a server sent: values, names, ids, rows.

#include "explorer/channels.hpp"
#include "explorer/found_node.hpp"
#include "explorer/node_presentation.hpp"
#include "host/settings_record.hpp"
#include "opcua/nodes/node_id.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <limits>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::HasSubstr;

/// @return shape, text and JSON of a value of the stack
template <typename T>
std::string shown(T value, std::size_t type) {
    UA_Variant variant{};
    UA_Variant_setScalar(&variant, &value, &UA_TYPES[type]);
    const node_value read = read_value(variant);
    return read.text + " | " +
           read.json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
           (read.numeric ? " | numeric" : "");
}

TEST(value_reading, gives_text_and_json_of_single_values) {
    const std::string long_text(999, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {shown(UA_Boolean{true}, UA_TYPES_BOOLEAN), "true | true | numeric"},
        {shown(UA_SByte{-5}, UA_TYPES_SBYTE), "-5 | -5 | numeric"},
        {shown(0.1F, UA_TYPES_FLOAT), "0.1 | 0.1 | numeric"},
        {shown(std::numeric_limits<double>::quiet_NaN(), UA_TYPES_DOUBLE),
         R"(NaN | "NaN" | numeric)"},
        {shown(std::numeric_limits<UA_UInt64>::max(), UA_TYPES_UINT64),
         "18446744073709551615 | 18446744073709551615 | numeric"},
        {shown(UA_DateTime{UA_DATETIME_UNIX_EPOCH + 15'000'000}, UA_TYPES_DATETIME),
         R"(1970-01-01T00:00:01.500Z | "1970-01-01T00:00:01.500Z" | numeric)"},
        {shown(opcua::borrowed("12 bar"), UA_TYPES_STRING), R"("12 bar" | "12 bar")"},
        {shown(UA_String{}, UA_TYPES_STRING), R"("" | "")"},
        {shown(opcua::borrowed("a\xff"), UA_TYPES_STRING), "\"a\xff\" | \"a\xef\xbf\xbd\""},
        {shown(opcua::borrowed(long_text + "ü"), UA_TYPES_STRING),
         "\"" + long_text + "…\" | \"" + long_text + "…\""},
        {shown(UA_QualifiedName{2, opcua::borrowed("T")}, UA_TYPES_QUALIFIEDNAME),
         R"(2:T | "2:T")"},
        {shown(UA_STATUSCODE_BADTIMEOUT, UA_TYPES_STATUSCODE), R"(BadTimeout | "BadTimeout")"},
        {shown(opcua::borrowed("abc"), UA_TYPES_BYTESTRING), "(ByteString) | null"},
        {shown(UA_Range{1, 2}, UA_TYPES_RANGE), "(Range) | null"},
    };
    for (const auto& [is, expected] : rows) {
        EXPECT_EQ(is, expected);
    }
    EXPECT_EQ(read_value(UA_Variant{}).text, "");
}

TEST(value_reading, shortens_arrays) {
    std::vector<UA_Int32> numbers(150, 3);
    std::vector<UA_UInt32> dimensions{50, 3};
    UA_Variant matrix{};
    UA_Variant_setArray(&matrix, numbers.data(), numbers.size(), &UA_TYPES[UA_TYPES_INT32]);
    matrix.arrayDimensions = dimensions.data();
    matrix.arrayDimensionsSize = dimensions.size();
    const node_value read = read_value(matrix);
    EXPECT_EQ(read.shape, "[50x3]");
    EXPECT_EQ(read.length, 150U);
    EXPECT_EQ(read.text, "[3, 3, 3, 3, …]");
    EXPECT_EQ(read.json.size(), 100U);
    EXPECT_TRUE(read.numeric);
}

TEST(node_names, say_what_the_command_line_takes_as_a_channel) {
    struct row {
        std::string node_id;
        std::string display_name;
        std::optional<std::size_t> length;
        std::string channel;
    };
    const row rows[] = {
        {"i=2258", "Time", {}, "i=2258"},
        {"ns=2;s=a=b;c d'\"", "A", {}, "ns=2;s=a=b;c d'\""},
        {"ns=2;s=A", "A", 3, "'ns=2;s=A'[0]"},
        {"ns=2;s=it's", "A", 3, "\"ns=2;s=it's\"[0]"},
        {"ns=2;s=it's \"q\"", "A", 3, ""},
        {"ns=2;s=A", "A", 0, ""},
        {"ns=2;s=A", "", {}, "a_b, very long as names go, is i=ns=2;s=A"},
        {"ns=2;s=A", "", 1, "a_b, very long as names go, is i='ns=2;s=A'[0]"},
        {std::string{"ns=2;s=A\0B", 10}, "A", {}, ""},
        {"ns=2;s=\xff", "A", {}, ""},
    };
    for (const row& each : rows) {
        found_node node;
        node.node_id = each.node_id;
        node.display_name = each.display_name;
        node.plain_name = "a=b, very long as names go, is it not?";
        node.value.length = each.length;
        EXPECT_EQ(channel_text(node), each.channel) << each.node_id;
        if (!each.channel.empty()) {
            const std::string given = parse_channel(each.channel).node_id;
            const auto id = opcua::is_array_node_id(given)
                                ? std::move(opcua::parse_array_node_id(given).node)
                                : opcua::parse_node_id(given);
            EXPECT_EQ(opcua::node_id_text(*id), each.node_id);
        }
    }
}

TEST(node_names, follow_references_within_the_server_only) {
    struct row {
        UA_UInt32 server;
        const char* uri;
        std::string identifier;
        std::string text;
        bool local;
    };
    const std::string longest(8192, 'x');
    const row rows[] = {
        {0, "", "A", "ns=5;s=A", true},
        {0, "urn:b", "A", "ns=1;s=A", true},
        {0, "urn:c", "A", "nsu=urn:c;s=A", false},
        {1, "urn:b", "A", "svr=1;nsu=urn:b;s=A", false},
        {0, "", longest, "ns=5;s=" + longest.substr(7) + "…", false},
    };
    for (const row& each : rows) {
        UA_ExpandedNodeId id{};
        id.nodeId = UA_NodeId{5, UA_NODEIDTYPE_STRING, {}};
        id.nodeId.identifier.string = opcua::borrowed(each.identifier);
        id.serverIndex = each.server;
        id.namespaceUri = opcua::borrowed(each.uri);
        found_node node;
        set_node_id(node, id, {"urn:a", "urn:b"});
        EXPECT_EQ(node.node_id, each.text);
        EXPECT_EQ(node.id.has_value(), each.local) << each.text;
    }
}

TEST(node_presentation, is_fit_for_a_terminal_and_for_json) {
    std::vector<found_node> nodes(1);
    found_node& node = nodes.front();
    node.node_id = "ns=1;s=\x1b[2J";
    node.display_name = "\xff\n" + std::string(200, 'w');
    node.depth = 1'000'000;
    node.number = 7;
    node.parent = 3; // was not shown
    node.is_variable = true;
    node.data_type = std::string(99, 't');
    node.value.text = "\x9b";
    const std::string tree = node_table(nodes, node_order::tree, false);
    for (const char byte : tree) {
        EXPECT_TRUE(byte == '\n' || static_cast<unsigned char>(byte) >= 0x20) << tree;
    }
    EXPECT_THAT(tree, HasSubstr("ns=1;s=\\x1b[2J\n"));
    EXPECT_LT(tree.size(), 500U);
    const auto json = nlohmann::json::parse(node_json(node));
    EXPECT_EQ(json["nodeid"], node.node_id);
    EXPECT_EQ(json["channel"], nullptr);
}

TEST(node_presentation, keeps_to_the_width_of_a_terminal) {
    std::vector<found_node> nodes(1);
    found_node& node = nodes.front();
    node.display_name = std::string(50, 'n');
    node.node_id = "ns=2;s=" + std::string(30, 'i');
    node.is_variable = true;
    node.data_type = std::string(30, 't');
    node.value.text = std::string(40, '7');
    node.unit = "°C";
    const auto longest = [&](std::size_t width) {
        std::size_t columns = 0;
        for (const std::string& line :
             split_at('\n', node_table(nodes, node_order::tree, false, width))) {
            columns = std::max(columns, display_width(line));
        }
        return columns;
    };
    EXPECT_GT(longest(any_width), 160U);
    for (const std::size_t width : {150U, 90U, 70U, 64U}) {
        EXPECT_EQ(longest(width), width);
    }
    EXPECT_EQ(longest(1), 64U) << "what is narrow stays";
    EXPECT_THAT(node_table(nodes, node_order::tree, false, 90), HasSubstr(node.node_id));
}

TEST(node_presentation, says_what_a_value_means_and_what_is_wrong_with_it) {
    std::vector<found_node> nodes(1);
    found_node& node = nodes.front();
    node.node_id = "i=1";
    node.value.text = "2";
    node.value.meaning = "Failed";
    const auto shown = [&nodes] { return node_table(nodes, node_order::list, false); };
    EXPECT_THAT(shown(), HasSubstr(" 2 (Failed) "));
    node.problem = "UncertainLastUsableValue";
    EXPECT_THAT(shown(), HasSubstr(" 2 (UncertainLastUsableValue) "));
    node.value = {};
    node.problem = "BadNotReadable";
    EXPECT_THAT(shown(), HasSubstr(" BadNotReadable "));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
