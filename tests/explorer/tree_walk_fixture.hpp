#pragma once
// Walks through a scripted server, and what they show.

#include "tests/explorer/scripted_server.hpp"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {

inline const std::string root = "ns=1;s=R";

struct tree_walk_test : testing::Test {
    /// Adds variables ns=1;s=V0 and so on below a node.
    void add_values(const std::string& above, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::string id = above + ".V" + std::to_string(i);
            server.nodes[above].below.push_back(id);
            server.nodes[id].node_class = UA_NODECLASS_VARIABLE;
        }
    }

    /// @return one text for each node that was shown: its path, then what is special about it
    std::vector<std::string> walk(walk_options options = {}) {
        shown.clear();
        node_requests requests{server.services(), [this] { return stop; }};
        tree_walk walk{requests, std::move(options), [this](found_node&& node) {
                           shown.push_back(std::move(node));
                       }};
        try {
            walk.run(opcua::parse_node_id(first));
        } catch (...) {
            summary = walk.summary();
            throw;
        }
        summary = walk.summary();
        channels =
            static_cast<std::size_t>(std::ranges::count_if(shown, [](const found_node& node) {
                return !node.channel.empty();
            }));
        std::vector<std::string> texts;
        for (const found_node& node : shown) {
            texts.push_back(
                node.path + (node.same_as.empty() ? "" : " = " + node.same_as) +
                (node.not_shown == 0 ? "" : " +" + std::to_string(node.not_shown)) +
                (node.more_not_shown ? "..." : "") +
                (node.problem.empty() ? "" : " " + node.problem)
            );
        }
        return texts;
    }

    std::size_t count_channels() {
        walk();
        return channels;
    }

    scripted_server server{.nodes = {{root, {}}}};
    std::string first = root;
    std::vector<found_node> shown;
    walk_summary summary;
    std::size_t channels = 0; // of the nodes shown last
    bool stop = false;
};

} // namespace tarvik::monitoring_modules::probe
