#include "opcua/client/read_request.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/nodes/node_failure.hpp"
#include "opcua/nodes/node_id.hpp"
#include "opcua/status_text.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

using liblog::severity;

namespace {

bool means_connection_closed(UA_StatusCode status) {
    return status == UA_STATUSCODE_BADSESSIONIDINVALID ||
           status == UA_STATUSCODE_BADSESSIONCLOSED ||
           status == UA_STATUSCODE_BADSESSIONNOTACTIVATED ||
           status == UA_STATUSCODE_BADCONNECTIONCLOSED;
}

[[noreturn]] void fail(const generic_node_interface& node, UA_StatusCode status) {
    const std::string name = status_name(status);
    if (status == UA_STATUSCODE_BADNODEIDUNKNOWN) {
        throw_for_node(
            exceptions::nodeid_unknown{node_id_text(node.node_id())}, node.entered_id(), name
        );
    }
    throw_for_node(exceptions::opcua_read_failed{name}, node.entered_id(), name);
}

} // namespace

void forget_values(const read_list& nodes) {
    for (const auto& node : nodes) {
        if (node && node->is_readable()) {
            node->set_attribute(attribute_id::value, {});
        }
    }
}

read_request::read_request(const read_list& nodes) {
    items_.reserve(nodes.size());
    for (const auto& node : nodes) {
        if (!node || !node->is_readable()) {
            throw exceptions::prepare_request_failed{};
        }
        for (const attribute_id attribute : node->attributes_to_read()) {
            items_.push_back({node.get(), attribute});
        }
    }
    ids_.resize(items_.size());
    std::transform(items_.begin(), items_.end(), ids_.begin(), [](const read_item& item) {
        UA_ReadValueId id{};
        id.nodeId = item.node->node_id();
        id.attributeId = static_cast<UA_UInt32>(item.attribute);
        return id;
    });
}

UA_ReadRequest read_request::stack_request() noexcept {
    UA_ReadRequest request{};
    request.nodesToRead = ids_.data();
    request.nodesToReadSize = ids_.size();
    return request;
}

void read_request::apply(ua_read_response response, liblog::log_interface* log) const {
    check_service_result(response->responseHeader.serviceResult);
    const auto results = elements(response->results, response->resultsSize);
    if (results.size() != items_.size()) {
        throw exceptions::opcua_response_size_mismatch{};
    }
    for (std::size_t i = 0; i < items_.size(); ++i) {
        apply_result(items_[i], results[i], log);
    }
}

std::optional<value_time> read_request::oldest_value(const UA_ReadResponse& response) const {
    const auto results = elements(response.results, response.resultsSize);
    const std::size_t count = std::min(results.size(), items_.size());
    const UA_DataValue* oldest = nullptr;
    const read_item* of = nullptr;
    for (std::size_t i = 0; i < count; ++i) {
        const UA_DataValue& result = results[i];
        if (items_[i].attribute != attribute_id::value || !result.hasValue) {
            continue;
        }
        const bool first = oldest == nullptr;
        const bool older =
            !first && oldest->hasSourceTimestamp &&
            (!result.hasSourceTimestamp || result.sourceTimestamp < oldest->sourceTimestamp);
        if (first || older) {
            oldest = &result;
            of = &items_[i];
        }
    }
    if (oldest == nullptr) {
        return std::nullopt;
    }
    value_time time{std::nullopt, of->node->entered_id()};
    if (oldest->hasSourceTimestamp) {
        time.milliseconds =
            oldest->sourceTimestamp / UA_DATETIME_MSEC - UA_DATETIME_UNIX_EPOCH / UA_DATETIME_MSEC;
    }
    return time;
}

std::string to_text(const value_time& time) {
    return (time.milliseconds ? std::to_string(*time.milliseconds) : "none") + " " + time.node_id;
}

void read_request::check_service_result(UA_StatusCode result) {
    if (UA_StatusCode_isGood(result)) {
        return;
    }
    if (means_connection_closed(result)) {
        throw exceptions::opcua_connection_closed{};
    }
    throw exceptions::opcua_request_failed{status_name(result)};
}

void read_request::apply_result(
    const read_item& item, UA_DataValue& result, liblog::log_interface* log
) {
    const UA_StatusCode status = result.hasStatus ? result.status : UA_STATUSCODE_GOOD;
    const bool lacks_description = status == UA_STATUSCODE_BADATTRIBUTEIDINVALID &&
                                   item.attribute == attribute_id::description;
    if (!UA_StatusCode_isGood(status) && !lacks_description) {
        fail(*item.node, status);
    }
    if (!result.hasValue) {
        return;
    }
    liblog::write(
        log,
        severity::debug,
        "    Update node ",
        reinterpret_cast<std::uintptr_t>(item.node),
        "'s attribute ",
        static_cast<std::uint32_t>(item.attribute)
    );
    for_node(item.node->entered_id(), [&] {
        item.node->set_attribute(
            item.attribute, ua_variant{std::exchange(result.value, UA_Variant{})}
        );
    });
}

} // namespace tarvik::monitoring_modules::opcua
