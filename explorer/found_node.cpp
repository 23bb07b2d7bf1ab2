#include "explorer/found_node.hpp"

#include "opcua/nodes/node_id.hpp"
#include "text/utf8.hpp"
#include "text/words.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_path = 4096;
// An identifier has at most 4096 characters, a ByteString as base64 a third more.
constexpr std::size_t longest_node_id = 8192;
constexpr std::size_t longest_channel_name = 32; // characters that the module takes

[[nodiscard]] std::string expanded_text(const UA_ExpandedNodeId& id) {
    opcua::ua_string text;
    if (UA_ExpandedNodeId_print(&id, text.out()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return std::string{opcua::view_of(*text)};
}

/// The name of a channel whose node has none: what the argument's form allows of its browse name.
[[nodiscard]] std::string channel_name(const found_node& node) {
    std::string name = is_utf8(node.plain_name) ? node.plain_name : "";
    std::ranges::replace(name, '=', '_');
    name.resize(first_characters(name, longest_channel_name).size());
    return name.empty() ? "Channel" : name;
}

} // namespace

void set_browse_name(found_node& node, const UA_QualifiedName& name) {
    node.plain_name = limited(opcua::view_of(name.name));
    const std::string index = std::to_string(name.namespaceIndex) + ":";
    node.browse_name = (name.namespaceIndex == 0 ? "" : index) + node.plain_name;
}

std::string node_class_name(std::int32_t number) {
    constexpr std::pair<std::int32_t, const char*> names[] = {
        {UA_NODECLASS_OBJECT, "Object"},
        {UA_NODECLASS_VARIABLE, "Variable"},
        {UA_NODECLASS_METHOD, "Method"},
        {UA_NODECLASS_OBJECTTYPE, "ObjectType"},
        {UA_NODECLASS_VARIABLETYPE, "VariableType"},
        {UA_NODECLASS_REFERENCETYPE, "ReferenceType"},
        {UA_NODECLASS_DATATYPE, "DataType"},
        {UA_NODECLASS_VIEW, "View"},
    };
    for (const auto& [each, name] : names) {
        if (number == each) {
            return name;
        }
    }
    return std::to_string(number);
}

reference_target
target_of(const UA_ExpandedNodeId& id, const std::vector<std::string>& namespaces) {
    UA_NodeId node = id.nodeId; // borrows the identifier
    bool known = id.serverIndex == 0;
    if (known && id.namespaceUri.length > 0) {
        const auto found = std::ranges::find(namespaces, opcua::view_of(id.namespaceUri));
        known = found != namespaces.end();
        node.namespaceIndex = static_cast<UA_UInt16>(found - namespaces.begin());
    }
    reference_target target;
    target.text = known ? opcua::node_id_text(node) : expanded_text(id);
    if (target.text.size() > longest_node_id) {
        target.text = limited(target.text, longest_node_id);
        known = false;
    }
    if (known) {
        target.local = opcua::ua_node_id::copy_of(node);
    }
    return target;
}

std::string path_below(const std::string& path, const found_node& node) {
    std::string longer = path + (path.empty() ? "" : "/");
    longer += node.plain_name.empty() ? node.name() : node.plain_name;
    if (longer.size() > longest_path) {
        longer = "…" + std::string{last_bytes(longer, longest_path)};
    }
    return longer;
}

std::string channel_text(const found_node& node) {
    std::string text = node.node_id;
    if (!is_utf8(text) || text.find('\0') != std::string::npos) {
        return "";
    }
    if (node.value.length) {
        const char quote = text.find('\'') == std::string::npos ? '\'' : '"';
        if (*node.value.length == 0 || text.find(quote) != std::string::npos) {
            return "";
        }
        text = quote + text + quote + "[0]";
    }
    return node.display_name.empty() ? channel_name(node) + "=" + text : text;
}

bool matches(const found_node& node, std::string_view text) {
    return contains_in_any_case(node.plain_name, text) ||
           contains_in_any_case(node.display_name, text) ||
           contains_in_any_case(node.node_id, text);
}

} // namespace tarvik::monitoring_modules::probe
