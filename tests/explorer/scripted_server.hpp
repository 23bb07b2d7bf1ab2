#pragma once
// An address space of a few lines that answers Browse and Read in this process, with the faults
// that a test wants.

#include "explorer/tree_walk.hpp"
#include "opcua/nodes/node_id.hpp"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

struct scripted_node {
    std::vector<std::string> below{};
    UA_Int32 node_class = UA_NODECLASS_OBJECT;
    std::function<void(UA_ReferenceDescription&)> change_reference{}; ///< to it
    /// Fills the answer about an attribute, and returns whether it did.
    std::function<bool(UA_DataValue&, UA_UInt32)> answer{};
    std::string unit{}; ///< its value is this unit
};

/// A node is named by its id: "ns=1;s=A" has the browse name "1:A" and the display name "A".
class scripted_server {
  public:
    std::map<std::string, scripted_node> nodes{};
    std::size_t page = 1000;            ///< references in one answer
    std::size_t most_operations = 1000; ///< in one request
    std::size_t most_points = 1000;     ///< lists open at a time
    std::size_t fitting_values = 1000;  ///< values in one answer
    bool endless = false;               ///< every page is the first one again
    bool empty_pages = false;           ///< no further page has anything
    std::size_t failing_request = 0;    ///< the number of the request that times out, from 1
    std::size_t wrong_request = 0;      ///< of the one whose answer has another length, from 1
    int surplus = 0;                    ///< results more than asked for; may be negative
    std::uint32_t told_limit = 0;       ///< of operations; 0: it does not tell

    std::size_t requests = 0;
    std::set<std::string> open{}; ///< lists that wait for their next page

    [[nodiscard]] opcua::browse_services services() {
        return {
            [this](const UA_BrowseRequest& request) { return browse(request); },
            [this](const UA_BrowseNextRequest& request) { return browse_next(request); },
            [this](const UA_ReadRequest& request) { return read(request); }};
    }

    template <typename T>
    static void set(UA_DataValue& to, const T& value, std::size_t type) {
        to.hasValue = true;
        UA_Variant_setScalarCopy(&to.value, &value, &UA_TYPES[type]);
    }

  private:
    template <typename Response>
    bool refuse(Response& response, std::size_t operations) {
        UA_StatusCode& status = response->responseHeader.serviceResult;
        status = ++requests == failing_request  ? UA_STATUSCODE_BADTIMEOUT
                 : operations == 0              ? UA_STATUSCODE_BADNOTHINGTODO
                 : operations > most_operations ? UA_STATUSCODE_BADTOOMANYOPERATIONS
                                                : UA_STATUSCODE_GOOD;
        return status != UA_STATUSCODE_GOOD;
    }

    [[nodiscard]] std::size_t answer_size(std::size_t asked) const {
        return requests == wrong_request ? asked + static_cast<std::size_t>(surplus) : asked;
    }

    template <typename Result>
    static Result* make_results(std::size_t& size, std::size_t count, std::size_t type) {
        size = count;
        return static_cast<Result*>(UA_Array_new(count, &UA_TYPES[type]));
    }

    static UA_String text(const std::string& bytes) {
        return opcua::make_ua_string(bytes).release();
    }

    static std::string name_in(const std::string& id) { return id.substr(id.rfind('=') + 1); }

    void fill(UA_ReferenceDescription& reference, const std::string& id) const {
        reference.nodeId.nodeId = opcua::parse_node_id(id).release();
        const std::string name = name_in(id);
        reference.browseName.namespaceIndex = reference.nodeId.nodeId.namespaceIndex;
        reference.browseName.name = text(name);
        reference.displayName.text = text(name);
        reference.nodeClass = UA_NODECLASS_OBJECT;
        if (const auto node = nodes.find(id); node != nodes.end()) {
            reference.nodeClass = UA_NodeClass(node->second.node_class);
            if (node->second.change_reference) {
                node->second.change_reference(reference);
            }
        }
    }

    void fill(UA_BrowseResult& result, const std::string& id, std::size_t begin, std::size_t most) {
        const auto node = nodes.find(id);
        if (node == nodes.end()) {
            result.statusCode = UA_STATUSCODE_BADNODEIDUNKNOWN;
            return;
        }
        const std::vector<std::string>& below = node->second.below;
        const bool nothing = empty_pages && begin > 0;
        const std::size_t size = nothing ? 0 : std::min(most, below.size() - begin);
        const std::size_t end = endless ? 0 : begin + size;
        if (endless || nothing || end < below.size()) {
            if (open.size() >= most_points) {
                result.statusCode = UA_STATUSCODE_BADNOCONTINUATIONPOINTS;
                return;
            }
            const std::string point = id + "@" + std::to_string(end) + "/" + std::to_string(most);
            open.insert(point);
            result.continuationPoint = text(point);
        }
        result.references = make_results<UA_ReferenceDescription>(
            result.referencesSize, size, UA_TYPES_REFERENCEDESCRIPTION
        );
        for (std::size_t i = 0; i < size; ++i) {
            fill(result.references[i], below[begin + i]);
        }
    }

    opcua::ua_browse_response browse(const UA_BrowseRequest& request) {
        opcua::ua_browse_response response;
        if (refuse(response, request.nodesToBrowseSize)) {
            return response;
        }
        const std::size_t size = answer_size(request.nodesToBrowseSize);
        response->results =
            make_results<UA_BrowseResult>(response->resultsSize, size, UA_TYPES_BROWSERESULT);
        const std::size_t most = std::min<std::size_t>(page, request.requestedMaxReferencesPerNode);
        for (std::size_t i = 0; i < std::min(size, request.nodesToBrowseSize); ++i) {
            fill(
                response->results[i], opcua::node_id_text(request.nodesToBrowse[i].nodeId), 0, most
            );
        }
        return response;
    }

    opcua::ua_browse_next_response browse_next(const UA_BrowseNextRequest& request) {
        opcua::ua_browse_next_response response;
        if (refuse(response, request.continuationPointsSize)) {
            return response;
        }
        const std::size_t size = answer_size(request.continuationPointsSize);
        response->results =
            make_results<UA_BrowseResult>(response->resultsSize, size, UA_TYPES_BROWSERESULT);
        for (std::size_t i = 0; i < std::min(size, request.continuationPointsSize); ++i) {
            const std::string point{opcua::view_of(request.continuationPoints[i])};
            EXPECT_EQ(open.erase(point), 1U) << point;
            const std::size_t at = point.find('@');
            const std::size_t slash = point.find('/', at);
            if (!request.releaseContinuationPoints) {
                fill(
                    response->results[i],
                    point.substr(0, at),
                    std::stoul(point.substr(at + 1)),
                    std::stoul(point.substr(slash + 1))
                );
            }
        }
        return response;
    }

    opcua::ua_read_response read(const UA_ReadRequest& request) {
        opcua::ua_read_response response;
        if (refuse(response, request.nodesToReadSize)) {
            return response;
        }
        std::size_t values = 0;
        for (const UA_ReadValueId& item :
             opcua::elements(request.nodesToRead, request.nodesToReadSize)) {
            values += item.attributeId == UA_ATTRIBUTEID_VALUE ? 1 : 0;
        }
        if (values > fitting_values) {
            response->responseHeader.serviceResult = UA_STATUSCODE_BADRESPONSETOOLARGE;
            return response;
        }
        const std::size_t size = answer_size(request.nodesToReadSize);
        response->results =
            make_results<UA_DataValue>(response->resultsSize, size, UA_TYPES_DATAVALUE);
        for (std::size_t i = 0; i < std::min(size, request.nodesToReadSize); ++i) {
            fill(response->results[i], request.nodesToRead[i]);
        }
        return response;
    }

    void fill(UA_DataValue& result, const UA_ReadValueId& item) const {
        const std::string id = opcua::node_id_text(item.nodeId);
        const auto node = nodes.find(id);
        if (told_limit != 0 && (id == "i=11705" || id == "i=11710")) {
            set(result, told_limit, UA_TYPES_UINT32);
        } else if (node == nodes.end()) {
            result.hasStatus = true;
            result.status = UA_STATUSCODE_BADNODEIDUNKNOWN;
        } else if (node->second.answer && node->second.answer(result, item.attributeId)) {
            return;
        } else if (item.attributeId == UA_ATTRIBUTEID_NODECLASS) {
            set(result, node->second.node_class, UA_TYPES_INT32);
        } else if (item.attributeId == UA_ATTRIBUTEID_BROWSENAME) {
            const std::string name = name_in(id);
            set(result, UA_QualifiedName{1, opcua::borrowed(name)}, UA_TYPES_QUALIFIEDNAME);
        } else if (item.attributeId == UA_ATTRIBUTEID_ACCESSLEVEL) {
            set(result, UA_Byte{UA_ACCESSLEVELMASK_READ}, UA_TYPES_BYTE);
        } else if (item.attributeId == UA_ATTRIBUTEID_VALUE && !node->second.unit.empty()) {
            UA_EUInformation unit{};
            unit.displayName.text = opcua::borrowed(node->second.unit);
            set(result, unit, UA_TYPES_EUINFORMATION);
        } else if (item.attributeId == UA_ATTRIBUTEID_VALUE) {
            set(result, UA_Int32{7}, UA_TYPES_INT32);
        }
    }
};

} // namespace tarvik::monitoring_modules::probe
