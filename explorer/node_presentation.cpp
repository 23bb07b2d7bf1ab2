#include "explorer/node_presentation.hpp"

#include "host/json.hpp"
#include "terminal/table.hpp"
#include "text/terminal_text.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <map>
#include <utility>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

namespace {

using nlohmann::ordered_json;

// Columns of a terminal. Ids and paths are there to be copied: they are cut only where the server
// exaggerates.
constexpr std::size_t name_columns = 60;
constexpr std::size_t type_columns = 30;
constexpr std::size_t value_columns = 40;
constexpr std::size_t unit_columns = 12;
constexpr std::size_t id_columns = 200;
// What they keep where lines get wider than the terminal.
constexpr std::size_t least_name = 20;
constexpr std::size_t least_type = 8;
constexpr std::size_t least_value = 8;
constexpr std::size_t least_id = 16;

[[nodiscard]] std::string type_text(const found_node& node) {
    return node.is_variable && !node.data_type.empty() ? node.data_type + node.value.shape
                                                       : node.node_class;
}

[[nodiscard]] cell value_cell(const found_node& node) {
    if (!node.same_as.empty()) {
        return {"see " + fit(node.same_as, id_columns), colour::dim};
    }
    const std::string& text = node.value.text;
    const std::string& in_words = node.problem.empty() ? node.value.meaning : node.problem;
    const std::string behind = text.empty() || in_words.empty() ? in_words : " (" + in_words + ")";
    return {
        fit(text + behind, value_columns), node.problem.empty() ? colour::plain : colour::yellow};
}

[[nodiscard]] cell id_cell(const found_node& node) {
    const bool channel = !node.channel.empty();
    return {
        fit(channel ? node.channel : node.node_id, id_columns),
        channel ? colour::green : colour::plain};
}

/// @return "(+12)", "(+50 and more)"; empty when all is shown
[[nodiscard]] std::string not_shown_text(const found_node& node) {
    if (node.not_shown == 0 && !node.more_not_shown) {
        return "";
    }
    return "(+" + std::to_string(node.not_shown) + (node.more_not_shown ? " and more)" : ")");
}

/// Without recursion: a server may have thousands of levels.
template <typename Visit>
void for_each_top_to_bottom(const std::vector<found_node>& nodes, const Visit& visit) {
    std::map<std::size_t, std::vector<const found_node*>> below; // by the number of the one above
    std::vector<const found_node*> stack;                        // the next one last
    for (const found_node& node : nodes) {
        const auto above = below.find(node.parent);
        (above == below.end() ? stack : above->second).push_back(&node);
        below.try_emplace(node.number);
    }
    std::ranges::reverse(stack);
    while (!stack.empty()) {
        const found_node* const node = stack.back();
        stack.pop_back();
        visit(*node);
        const auto& next = below.at(node->number);
        stack.insert(stack.end(), next.rbegin(), next.rend());
    }
}

[[nodiscard]] ordered_json text_or_null(const std::string& text) {
    return text.empty() ? ordered_json{} : ordered_json(text);
}

} // namespace

std::string node_table(
    const std::vector<found_node>& nodes, node_order order, bool colours, std::size_t width
) {
    const bool tree = order == node_order::tree;
    table rows{
        {{tree ? "node" : "path", alignment::left, 0, least_name},
         {""},
         {"type", alignment::left, 2, least_type},
         {"value", alignment::left, 2, least_value},
         {"unit"},
         {"access"},
         {"channel"},
         {"node id, as --channel takes it", alignment::left, 2, least_id, true}}};
    const auto add = [&](const found_node& node) {
        const std::string indent(std::min<std::size_t>(2 * node.depth, name_columns / 2), ' ');
        rows.add_row(
            {{tree ? indent + fit(node.name(), name_columns - indent.size())
                   : fit(node.path, id_columns)},
             {not_shown_text(node), colour::dim},
             {fit(type_text(node), type_columns), colour::dim},
             value_cell(node),
             {fit(node.unit, unit_columns)},
             {std::string{node.readable ? "r" : ""} + (node.writable ? "w" : "")},
             {node.channel.empty() ? "" : "yes"},
             id_cell(node)}
        );
    };
    if (tree) {
        for_each_top_to_bottom(nodes, add);
    } else {
        std::ranges::for_each(nodes, add);
    }
    return rows.render(colours, width);
}

std::string node_json(const found_node& node) {
    ordered_json line{
        {"nodeid", node.node_id},
        {"path", node.path},
        {"browse_name", node.browse_name},
        {"display_name", node.display_name},
        {"node_class", node.node_class},
        {"data_type", text_or_null(node.data_type)},
        {"value", node.value.json},
        {"meaning", text_or_null(node.value.meaning)},
        {"array_length", node.value.length ? ordered_json(*node.value.length) : ordered_json{}},
        {"unit", text_or_null(node.unit)},
        {"readable", node.readable},
        {"writable", node.writable},
        {"channel", text_or_null(node.channel)}};
    if (!node.same_as.empty()) {
        line["same_as"] = node.same_as;
    }
    if (!node.problem.empty()) {
        line["problem"] = node.problem;
    }
    if (node.not_shown > 0 || node.more_not_shown) {
        line["not_shown"] = node.not_shown;
        line["more_not_shown"] = node.more_not_shown;
    }
    return json_line(line);
}

std::vector<std::string> walk_notes(const walk_summary& summary, const walk_options& options) {
    std::vector<std::string> notes;
    if (summary.stopped) {
        notes.emplace_back("Interrupted: there are more nodes");
        return notes;
    }
    if (!options.match.empty() && summary.shown == 0) {
        notes.push_back(
            "None of " + std::to_string(summary.looked_at) + " nodes matches \"" + options.match +
            "\""
        );
    }
    if (!summary.folded.empty()) {
        notes.push_back(
            "What the server tells about itself is not shown (" + joined(summary.folded) +
            "); --all shows it"
        );
    }
    if (summary.not_shown > 0) {
        notes.push_back(
            "Below depth " + std::to_string(options.depth) + " there are " +
            std::to_string(summary.not_shown) + " or more nodes; --depth " +
            std::to_string(options.depth + 1) + " shows them"
        );
    }
    if (summary.limit_reached) {
        notes.push_back(
            "There are more nodes than the limit of " + std::to_string(options.limit) +
            "; --limit raises it"
        );
    }
    return notes;
}

} // namespace tarvik::monitoring_modules::probe
