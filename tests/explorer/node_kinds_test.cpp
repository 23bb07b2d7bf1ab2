// Nodes that are shown in another way than all others: the server's own, and enumerations.

#include "tests/explorer/tree_walk_fixture.hpp"

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;

TEST_F(tree_walk_test, keeps_what_a_server_tells_about_itself_for_the_end) {
    const std::string objects = "i=85";
    const std::string own = "i=2253";
    server.nodes = {
        {objects, {{"i=31915", own, "ns=1;s=A"}}},
        {own, {{"i=2256", "ns=1;s=Vendor"}}},
        {"i=2256", {}},
        {"i=31915", {}},
        {"ns=1;s=Vendor", {}},
        {"ns=1;s=A", {{"ns=1;s=B", "i=11191"}}},
        {"ns=1;s=B", {}},
        {"i=11191", {}}};
    first = objects;
    EXPECT_THAT(
        walk(), ElementsAre("85", "85/A", "85/A/B", "85/A/11191", "85/31915", "85/2253 +2")
    );
    EXPECT_THAT(summary.folded, ElementsAre("2253")) << "where there is something";
    EXPECT_EQ(summary.not_shown, 0U);
    EXPECT_THAT(
        walk({.own_nodes = true}),
        ElementsAre(
            "85",
            "85/A",
            "85/A/B",
            "85/A/11191",
            "85/31915",
            "85/2253",
            "85/2253/Vendor",
            "85/2253/2256"
        )
    );
    EXPECT_THAT(summary.folded, ElementsAre());
    EXPECT_THAT(walk({.match = "vendor"}), ElementsAre("85/2253/Vendor"));
    EXPECT_THAT(walk({.limit = 2}), ElementsAre("85 +2", "85/A +2"));
    first = own;
    EXPECT_THAT(walk(), ElementsAre("2253", "2253/Vendor", "2253/2256"));
}

TEST_F(tree_walk_test, tells_what_numbers_of_enumerations_mean) {
    add_values(root, 3);
    const auto named = [](const char* name) {
        return [name](UA_ReferenceDescription& reference) {
            reference.browseName.namespaceIndex = 0;
            opcua::assign(reference.browseName.name, name);
        };
    };
    const auto is_type = [](UA_DataValue& result, UA_UInt32 attribute) {
        if (attribute == UA_ATTRIBUTEID_DATATYPE) {
            scripted_server::set(result, *opcua::parse_node_id("ns=1;s=T"), UA_TYPES_NODEID);
        }
        return attribute == UA_ATTRIBUTEID_DATATYPE;
    };
    const auto is_array = [](auto elements, std::size_t type) {
        return [elements, type](UA_DataValue& result, UA_UInt32) {
            result.hasValue = true;
            UA_Variant_setArrayCopy(
                &result.value, elements.data(), elements.size(), &UA_TYPES[type]
            );
            return true;
        };
    };
    std::vector<UA_LocalizedText> strings(8);
    const std::string long_text = "Run\nning" + std::string(200, '!');
    strings[7].text = opcua::borrowed(long_text);
    std::vector<UA_EnumValueType> values(2);
    values[0].value = -1;
    values[1].value = 7;
    values[1].displayName.text = opcua::borrowed("Cleaning");
    server.nodes["ns=1;s=T"].below = {"ns=1;s=S"};
    server.nodes["ns=1;s=S"] = {
        .change_reference = named("EnumStrings"),
        .answer = is_array(strings, UA_TYPES_LOCALIZEDTEXT)};
    server.nodes["ns=1;s=E"] = {
        .change_reference = named("EnumValues"),
        .answer = is_array(values, UA_TYPES_ENUMVALUETYPE)};
    server.nodes["ns=1;s=R.V0"].answer = is_type;
    server.nodes["ns=1;s=R.V1"].answer = is_type;
    server.nodes["ns=1;s=R.V1"].below = {"ns=1;s=E"};
    walk({.depth = 1});
    EXPECT_EQ(shown.at(1).value.meaning, long_text.substr(0, 100) + "…");
    EXPECT_EQ(shown.at(2).value.meaning, "Cleaning") << "of the variable itself";
    EXPECT_EQ(shown.at(3).value.meaning, "");
    EXPECT_EQ(shown.at(1).data_type, "T");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
