#pragma once
// Browse and Read requests of a size that a server takes, and their answers, of which nothing is
// taken for granted.

#include "opcua/client/browse_services.hpp"
#include "opcua/nodes/value_conversion.hpp"
#include "opcua/ua_value.hpp"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using ua_data_value = opcua::ua_value<UA_DataValue, UA_TYPES_DATAVALUE>;
using ua_reference = opcua::ua_value<UA_ReferenceDescription, UA_TYPES_REFERENCEDESCRIPTION>;

/// @param node borrowed
[[nodiscard]] inline UA_ReadValueId item_of(const UA_NodeId& node, UA_UInt32 attribute) {
    UA_ReadValueId item{};
    item.nodeId = node;
    item.attributeId = attribute;
    return item;
}

/// @param type of the stack's type table
/// @return null unless the result is one value of this type
template <typename T>
[[nodiscard]] const T* scalar(const UA_DataValue& result, std::size_t type) {
    return result.hasValue && result.value.type == &UA_TYPES[type] && opcua::is_scalar(result.value)
               ? static_cast<const T*>(result.value.data)
               : nullptr;
}

/// The nodes below one node.
struct browse_answer {
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    std::vector<ua_reference> references;
    bool more = false; ///< the server has more of them, which were not fetched
};

/// How much is fetched of the nodes below some nodes.
struct browse_pages {
    UA_UInt32 size = 500; ///< of one page of one node
    bool first_only = false;
    std::size_t room = 0; ///< once so many have come in all, no further pages are fetched
};

/// Of nodes that are not expanded: enough for their properties.
inline constexpr browse_pages first_page{.size = 50, .first_only = true};

/// All of its requests throw opcua_request_failed when a request failed as a whole, and
/// opcua_response_size_mismatch when an answer has another length than the question.
class node_requests final {
  public:
    /// Reads how large requests may be, and the server's namespaces. Servers that do not tell get
    /// requests of a size that all of them should take.
    /// @param stop is asked between requests; once it says so, further pages are not fetched
    node_requests(opcua::browse_services services, std::function<bool()> stop);

    [[nodiscard]] bool stopped() const { return stop_(); }

    /// URIs by their index; empty when the server does not tell
    [[nodiscard]] const std::vector<std::string>& namespaces() const noexcept {
        return namespaces_;
    }

    /// @return one result for each item, in their order; an item that no answer has room for has
    /// the status of the refusal
    [[nodiscard]] std::vector<ua_data_value> read(std::span<const UA_ReadValueId> items);

    /// Fetches the nodes below; what the server keeps for further pages is released.
    /// @return one answer for each node, in their order
    [[nodiscard]] std::vector<browse_answer>
    browse(std::span<const UA_NodeId> nodes, browse_pages pages);

    static constexpr std::size_t most_items = 400; ///< of one Read request
    static constexpr std::size_t most_nodes = 100; ///< of one Browse request

  private:
    struct open_list {
        browse_answer* answer;
        opcua::ua_string point; // a ByteString, which is the same to the stack
    };

    [[nodiscard]] UA_StatusCode
    read_once(std::span<const UA_ReadValueId> items, std::span<ua_data_value> results);
    [[nodiscard]] UA_StatusCode browse_once(
        std::span<const UA_NodeId> nodes, std::span<browse_answer> answers, browse_pages& pages
    );
    [[nodiscard]] std::vector<open_list>
    next_pages(const std::vector<open_list>& open, browse_pages& pages) const;
    void release(const std::vector<open_list>& open) const;
    [[nodiscard]] opcua::ua_browse_next_response
    browse_next(const std::vector<open_list>& open, bool release) const;

    opcua::browse_services services_;
    std::function<bool()> stop_;
    std::size_t read_limit_ = most_items;
    std::size_t browse_limit_ = most_nodes;
    std::vector<std::string> namespaces_;
};

} // namespace tarvik::monitoring_modules::probe
