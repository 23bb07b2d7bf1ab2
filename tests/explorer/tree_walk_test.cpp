// Walking through the nodes of servers of every kind.

#include "common/catalogue/opcua_exceptions.hpp"
#include "tests/explorer/tree_walk_fixture.hpp"

#include <cstring>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

using opcua::exceptions::opcua_request_failed;
using opcua::exceptions::opcua_response_size_mismatch;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(tree_walk_test, expands_each_node_once) {
    server.nodes = {
        {root, {{"ns=1;s=A", "ns=1;s=B", root}}},
        {"ns=1;s=A", {{"ns=1;s=B", "ns=1;s=A"}}},
        {"ns=1;s=B", {{"ns=1;s=A", "ns=1;s=C"}}},
        {"ns=1;s=C", {}}};
    EXPECT_THAT(
        walk(),
        ElementsAre(
            "R", "R/A", "R/B", "R/R = R", "R/A/B = R/B", "R/A/A = R/A", "R/B/A = R/A", "R/B/C"
        )
    );
    EXPECT_FALSE(summary.limit_reached);
}

TEST_F(tree_walk_test, keeps_to_depth_and_limit_and_tells_what_is_left) {
    add_values(root, 3);
    add_values(root + ".V1", 2);
    add_values(root + ".V2", 60);
    EXPECT_THAT(walk({.depth = 0}), ElementsAre("R +3"));
    EXPECT_THAT(walk({.depth = 1}), ElementsAre("R", "R/R.V0", "R/R.V1 +2", "R/R.V2 +50..."));
    EXPECT_EQ(summary.not_shown, 52U);
    EXPECT_FALSE(summary.limit_reached);
    EXPECT_EQ(walk({.limit = 66}).size(), 66U);
    EXPECT_FALSE(summary.limit_reached);
    EXPECT_THAT(walk({.limit = 3}), ElementsAre("R +1", "R/R.V0", "R/R.V1 +2"));
    EXPECT_TRUE(summary.limit_reached);
    EXPECT_TRUE(server.open.empty()) << "lists that are not read to their end are given back";
}

TEST_F(tree_walk_test, finds_by_name_and_id_at_any_depth) {
    add_values(root, 2);
    add_values(root + ".V1", 1);
    EXPECT_THAT(walk({.match = "v1"}), ElementsAre("R/R.V1", "R/R.V1/R.V1.V0"));
    EXPECT_THAT(walk({.match = "NS=1;S=r.v0"}), ElementsAre("R/R.V0"));
    EXPECT_EQ(channels, 1U);
    EXPECT_THAT(walk({.match = "nowhere"}), ElementsAre());
    EXPECT_EQ(summary.looked_at, 4U);
}

TEST_F(tree_walk_test, reads_units_of_variables) {
    add_values(root, 2);
    const std::string unit = "i=77";
    server.nodes["ns=1;s=R.V1"].below = {unit};
    server.nodes[unit] = {
        .change_reference = [](UA_ReferenceDescription& reference
                            ) { opcua::assign(reference.browseName.name, "EngineeringUnits"); },
        .unit = "bar"};
    walk({.depth = 1});
    EXPECT_EQ(shown.at(1).unit, "");
    EXPECT_EQ(shown.at(2).unit, "bar");
}

TEST_F(tree_walk_test, makes_do_with_what_a_server_takes) {
    for (int i = 0; i < 12; ++i) {
        server.nodes[root].below.push_back("ns=1;s=F" + std::to_string(i));
        add_values("ns=1;s=F" + std::to_string(i), 25);
    }
    struct row {
        const char* what;
        std::function<void()> set;
    };
    const row rows[] = {
        {"all at once", [] {}},
        {"pages", [this] { server.page = 7; }},
        {"one list at a time", [this] { server.most_points = 1; }},
        {"limits that it tells", [this] { server.most_operations = server.told_limit = 5; }},
        {"limits that it keeps to itself", [this] { server.told_limit = 0; }},
        {"one operation at a time", [this] { server.most_operations = 1; }},
        {"few values at a time", [this] { server.fitting_values = 3; }},
    };
    for (const row& each : rows) {
        each.set();
        EXPECT_EQ(count_channels(), 300U) << each.what;
        EXPECT_TRUE(server.open.empty()) << each.what;
    }
}

TEST_F(tree_walk_test, a_value_that_fits_no_answer_costs_no_other) {
    add_values(root, 3);
    server.fitting_values = 0;
    server.nodes[root].node_class = UA_NODECLASS_VARIABLE;
    EXPECT_THAT(walk(), testing::Each(HasSubstr("BadResponseTooLarge")));
    EXPECT_EQ(shown.size(), 4U);
}

TEST_F(tree_walk_test, ends_whatever_pages_a_server_sends) {
    add_values(root, 3);
    server.page = 2;
    server.empty_pages = true;
    EXPECT_EQ(walk().front(), "R... BadContinuationPointInvalid");
    EXPECT_EQ(shown.size(), 3U);
    EXPECT_TRUE(server.open.empty());
    server.empty_pages = false;
    server.endless = true;
    EXPECT_EQ(walk({.limit = 1000}).size(), 1000U);
    EXPECT_TRUE(summary.limit_reached);
    EXPECT_TRUE(server.open.empty());
}

TEST_F(tree_walk_test, tells_of_requests_that_fail_and_of_answers_of_another_length) {
    add_values(root, 3);
    server.page = 2;
    walk();
    const std::size_t all = std::exchange(server.requests, 0);
    EXPECT_EQ(all, 6U); // limits, first node, its list in two pages, below and values of the rest
    const scripted_server good = server;
    for (std::size_t request = 1; request <= all; ++request) {
        server = good;
        server.failing_request = request;
        EXPECT_THROW(walk(), opcua_request_failed) << request;
        EXPECT_EQ(shown.size(), request < 5 ? 0U : 1U) << "what was known stays";
        for (const int surplus : {-1, 1}) {
            server = good;
            server.wrong_request = request;
            server.surplus = surplus;
            EXPECT_THROW(walk(), opcua_response_size_mismatch) << request;
        }
    }
}

TEST_F(tree_walk_test, shows_but_does_not_follow_nodes_of_other_servers) {
    server.nodes[root].below = {"ns=1;s=A", "ns=1;s=B", "ns=1;s=gone"};
    server.nodes["ns=1;s=A"] = {
        .below = {"ns=1;s=C"}, .change_reference = [](UA_ReferenceDescription& reference) {
            reference.nodeId.serverIndex = 3;
        }};
    server.nodes["ns=1;s=B"] = {
        .below = {"ns=1;s=C"}, .change_reference = [](UA_ReferenceDescription& reference) {
            opcua::assign(reference.nodeId.namespaceUri, "urn:unknown");
            std::memset(&reference.nodeClass, 0x55, sizeof reference.nodeClass);
            opcua::assign(reference.displayName.text, "\xff\x1b[2J");
        }};
    EXPECT_THAT(walk(), ElementsAre("R", "R/A", "R/B", "R/gone BadNodeIdUnknown"));
    EXPECT_EQ(shown[1].node_id, "svr=3;ns=1;s=A");
    EXPECT_EQ(shown[2].node_id, "nsu=urn:unknown;s=B");
    EXPECT_EQ(shown[2].node_class, std::to_string(0x55555555));
}

TEST_F(tree_walk_test, stops_when_asked_to) {
    add_values(root, 3);
    stop = true;
    EXPECT_THAT(walk(), ElementsAre());
    EXPECT_TRUE(summary.stopped);
}

TEST_F(tree_walk_test, a_first_node_that_is_not_there_is_told) {
    server.nodes.clear();
    EXPECT_THROW(walk(), opcua::exceptions::nodeid_unknown);
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
