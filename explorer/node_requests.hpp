#pragma once
// Browse and Read requests of a size that a server takes, and their answers, of which nothing is
// taken for granted.

#include "opcua/client/browse_services.hpp"
#include "opcua/ua_value.hpp"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using ua_data_value = opcua::ua_value<UA_DataValue, UA_TYPES_DATAVALUE>;
using ua_reference = opcua::ua_value<UA_ReferenceDescription, UA_TYPES_REFERENCEDESCRIPTION>;

/// The nodes below one node.
struct browse_answer {
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    std::vector<ua_reference> references;
    bool more = false; ///< the server has more of them, which were not fetched
};

/// All of its requests throw opcua_request_failed when a request failed as a whole, and
/// opcua_response_size_mismatch when an answer has another length than the question.
class node_requests final {
  public:
    /// @param stop is asked between requests; once it says so, further pages are not fetched
    node_requests(opcua::browse_services services, std::function<bool()> stop);

    /// Reads how large requests may be, and the server's namespaces. Servers that do not tell get
    /// requests of a size that all of them should take.
    void learn_limits();

    /// URIs by their index; empty before the limits are learnt, or when the server does not tell
    [[nodiscard]] const std::vector<std::string>& namespaces() const noexcept {
        return namespaces_;
    }

    /// @return one result for each item, in their order; an item that no answer has room for has
    /// the status of the refusal
    [[nodiscard]] std::vector<ua_data_value> read(std::span<const UA_ReadValueId> items);

    /// Fetches the nodes below, page by page until `most` of them have come in all; what the server
    /// keeps for further pages is released.
    /// @return one answer for each node, in their order
    [[nodiscard]] std::vector<browse_answer>
    browse(std::span<const UA_NodeId> nodes, std::size_t most);

    /// The same for the first page only.
    [[nodiscard]] std::vector<browse_answer> browse_first_page(std::span<const UA_NodeId> nodes);

    static constexpr std::size_t most_items = 400;       ///< of one Read request
    static constexpr std::size_t most_nodes = 100;       ///< of one Browse request
    static constexpr UA_UInt32 references_of_page = 500; ///< of one node
    static constexpr UA_UInt32 references_of_first_page = 50;

  private:
    struct open_list {
        browse_answer* answer;
        opcua::ua_string point; // a ByteString, which is the same to the stack
    };
    struct page_plan {
        UA_UInt32 page; // references of a node in one answer
        bool first_only;
        std::size_t room; // for references in all answers
    };

    [[nodiscard]] std::vector<browse_answer>
    browse_all(std::span<const UA_NodeId> nodes, page_plan plan);
    [[nodiscard]] UA_StatusCode browse_once(
        std::span<const UA_NodeId> nodes, std::span<browse_answer> answers, page_plan& plan
    );
    void follow(std::vector<open_list> open, page_plan& plan);
    [[nodiscard]] std::vector<open_list>
    next_pages(std::vector<open_list> open, std::vector<open_list>& endless, page_plan& plan) const;
    void release(std::span<open_list> open) const;
    [[nodiscard]] UA_StatusCode
    read_once(std::span<const UA_ReadValueId> items, std::span<ua_data_value> results);

    opcua::browse_services services_;
    std::function<bool()> stop_;
    std::size_t read_limit_ = most_items;
    std::size_t browse_limit_ = most_nodes;
    std::vector<std::string> namespaces_;
};

} // namespace tarvik::monitoring_modules::probe
