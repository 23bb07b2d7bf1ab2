#pragma once

// One Read request for a list of nodes: which attributes it asks for, and how its response is
// handed back to them.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_interface.hpp"
#include "opcua/ua_value.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

/// Takes the values of all readable nodes away. Done before a request for them, so that whatever it
/// brings, or fails to bring, no node shows a value of an earlier one.
void forget_values(const read_list& nodes);

/// When a value came to be, as its source says.
struct value_time {
    std::optional<std::int64_t> milliseconds; ///< since 1970, UTC; nothing: the source does not say
    std::string node_id;                      ///< as its user wrote it
};

/// @return the text of ZUNO_EVENT_OLDEST_VALUE
[[nodiscard]] std::string to_text(const value_time& time);

class read_request {
  public:
    /// One item for each attribute that each node asks for, in the order of the list and of the
    /// node. The nodes must outlive the request.
    /// @throws exceptions::prepare_request_failed for a null entry or one that is not readable.
    explicit read_request(const read_list& nodes);

    /// How many items the request has.
    [[nodiscard]] std::size_t size() const noexcept { return items_.size(); }

    /// The request for the stack; borrows from this object and the nodes.
    [[nodiscard]] UA_ReadRequest stack_request() noexcept;

    /// Hands the results to the nodes, in order, up to the first error, whose detail names the
    /// node. A missing Description is no error; a good result without a value is passed over.
    /// @param response as the server sent it: nothing about it is trusted.
    /// @param log may be null.
    /// @throws the errors of client_interface::read_node but those of connecting.
    void apply(ua_read_response response, liblog::log_interface* log) const;

    /// @return of the values that a response brings for Value attributes, one without a time of its
    /// source, else the one with the earliest; nothing when there is none
    [[nodiscard]] std::optional<value_time> oldest_value(const UA_ReadResponse& response) const;

  private:
    struct read_item {
        generic_node_interface* node;
        attribute_id attribute;
    };

    static void check_service_result(UA_StatusCode result);
    static void
    apply_result(const read_item& item, UA_DataValue& result, liblog::log_interface* log);

    std::vector<read_item> items_;
    std::vector<UA_ReadValueId> ids_; // borrow the nodes' ids
};

} // namespace tarvik::monitoring_modules::opcua
