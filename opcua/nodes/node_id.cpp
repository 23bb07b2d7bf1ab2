#include "opcua/nodes/node_id.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::opcua {

namespace {

struct array_notation {
    std::string node;
    std::string index;
};

// Scanned by hand: settings may be a mebibyte long, and the standard library's regular expressions
// need stack space for every character.
array_notation split_array_notation(const std::string& text) {
    const auto reject = [&]() -> array_notation { throw exceptions::invalid_array_syntax{text}; };
    if (!is_array_node_id(text)) {
        return reject();
    }
    const std::size_t closing = text.find(text.front(), 1);
    if (closing == std::string::npos || closing == 1) {
        return reject();
    }
    const std::string_view access = std::string_view{text}.substr(closing + 1);
    if (access.size() < 3 || access.front() != '[' || access.back() != ']') {
        return reject();
    }
    const std::string_view index = access.substr(1, access.size() - 2);
    if (index.find_first_not_of("0123456789") != std::string_view::npos) {
        return reject();
    }
    return {text.substr(1, closing - 1), std::string{index}};
}

} // namespace

ua_node_id parse_node_id(const std::string& text) {
    const std::string_view until_zero{text.c_str()};
    ua_node_id node;
    if (const UA_StatusCode status = UA_NodeId_parse(node.out(), borrowed(until_zero));
        status != UA_STATUSCODE_GOOD) {
        throw exceptions::failed_to_parse_node_id{text, status_name(status)};
    }
    return node;
}

bool is_array_node_id(const std::string& text) noexcept {
    return text.starts_with('\'') || text.starts_with('"');
}

array_element_id parse_array_node_id(const std::string& text) {
    const array_notation notation = split_array_notation(text);
    ua_node_id node = parse_node_id(notation.node);
    return {std::move(node), std::stol(notation.index)};
}

std::string identifier_text(const UA_NodeId& node) {
    switch (node.identifierType) {
    case UA_NODEIDTYPE_STRING:
        return "s=" + std::string{view_of(node.identifier.string)};
    case UA_NODEIDTYPE_NUMERIC:
        return "i=" + std::to_string(node.identifier.numeric);
    default:
        throw exceptions::unsupported_identifier_type{};
    }
}

std::string node_id_text(const UA_NodeId& node) {
    ua_string text;
    if (UA_NodeId_print(&node, text.out()) != UA_STATUSCODE_GOOD) {
        throw std::bad_alloc{};
    }
    return std::string{view_of(*text)};
}

} // namespace tarvik::monitoring_modules::opcua
