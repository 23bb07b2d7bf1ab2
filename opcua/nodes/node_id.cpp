#include "opcua/nodes/node_id.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <charconv>
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

/// Whether a text is a decimal number that the type can hold.
template <typename Number>
bool holds(std::string_view digits) {
    Number number{};
    const char* const digits_end = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), digits_end, number);
    return error == std::errc{} && end == digits_end;
}

/// Whether the numbers of a NodeID that the stack can read fit its fields. The stack lets them wrap
/// around, so that ns=65537 would name a node of namespace 1, and takes an empty one for 0.
bool numbers_fit(std::string_view text) {
    constexpr std::string_view name_space = "ns=";
    constexpr std::string_view numeric = "i=";
    if (text.starts_with(name_space)) {
        const std::size_t end = text.find(';');
        const std::size_t begin = name_space.size();
        if (end == std::string_view::npos || !holds<UA_UInt16>(text.substr(begin, end - begin))) {
            return false;
        }
        text.remove_prefix(end + 1);
    }
    return !text.starts_with(numeric) || holds<UA_UInt32>(text.substr(numeric.size()));
}

} // namespace

ua_node_id parse_node_id(const std::string& text) {
    ua_node_id node;
    UA_StatusCode status = UA_NodeId_parse(node.out(), borrowed(text));
    if (status == UA_STATUSCODE_GOOD && !numbers_fit(text)) {
        status = UA_STATUSCODE_BADDECODINGERROR;
    }
    if (status != UA_STATUSCODE_GOOD) {
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
