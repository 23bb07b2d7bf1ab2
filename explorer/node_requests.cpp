#include "explorer/node_requests.hpp"

#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/status_text.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using opcua::elements;

/// Whether a smaller request may succeed.
[[nodiscard]] bool is_too_much(UA_StatusCode status) noexcept {
    return status == UA_STATUSCODE_BADTOOMANYOPERATIONS ||
           status == UA_STATUSCODE_BADRESPONSETOOLARGE ||
           status == UA_STATUSCODE_BADREQUESTTOOLARGE ||
           status == UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED;
}

/// Handles a range of questions by requests of at most `limit`, which shrinks when the server finds
/// it too large; a single answer that is too large is refused, and costs the others nothing.
/// @param ask (begin, size) sends one request; returns the service result
/// @param refuse (index, status)
template <typename Ask, typename Refuse>
void in_pieces(
    std::size_t begin, std::size_t size, std::size_t& limit, const Ask& ask, const Refuse& refuse
) {
    if (size > limit) {
        for (std::size_t done = 0; done < size;) {
            const std::size_t piece = std::min(limit, size - done);
            in_pieces(begin + done, piece, limit, ask, refuse);
            done += piece;
        }
        return;
    }
    const UA_StatusCode status = size == 0 ? UA_STATUSCODE_GOOD : ask(begin, size);
    if (UA_StatusCode_isGood(status)) {
        return;
    }
    if (!is_too_much(status)) {
        throw opcua::exceptions::opcua_request_failed{opcua::status_name(status)};
    }
    if (size == 1) {
        refuse(begin, status);
        return;
    }
    const std::size_t half = size / 2;
    if (status == UA_STATUSCODE_BADTOOMANYOPERATIONS) {
        limit = half;
    }
    in_pieces(begin, half, limit, ask, refuse);
    in_pieces(begin + half, size - half, limit, ask, refuse);
}

void check_length(std::size_t answered, std::size_t asked) {
    if (answered != asked) {
        throw opcua::exceptions::opcua_response_size_mismatch{};
    }
}

/// Moves the references over.
/// @return the mark that stands for the pages that follow; empty when there are none
[[nodiscard]] opcua::ua_string
take(UA_BrowseResult& result, browse_answer& answer, std::size_t& room) {
    answer.status = result.statusCode;
    for (UA_ReferenceDescription& each : elements(result.references, result.referencesSize)) {
        answer.references.emplace_back(std::exchange(each, UA_ReferenceDescription{}));
    }
    room -= std::min(room, result.referencesSize);
    return opcua::ua_string{std::exchange(result.continuationPoint, UA_ByteString{})};
}

[[nodiscard]] UA_ReadValueId value_of(UA_UInt32 standard_node) {
    return item_of(UA_NODEID_NUMERIC(0, standard_node), UA_ATTRIBUTEID_VALUE);
}

/// @return the smaller one of our limit and the server's, which is 0 or absent for none
[[nodiscard]] std::size_t limit_in(const UA_DataValue& told, std::size_t ours) {
    const auto* theirs = scalar<UA_UInt32>(told, UA_TYPES_UINT32);
    return theirs == nullptr || *theirs == 0 ? ours : std::min<std::size_t>(ours, *theirs);
}

} // namespace

node_requests::node_requests(opcua::browse_services services, std::function<bool()> stop)
    : services_{std::move(services)},
      stop_{std::move(stop)} {
    const UA_ReadValueId items[] = {
        value_of(UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERREAD),
        value_of(UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERBROWSE),
        value_of(UA_NS0ID_SERVER_NAMESPACEARRAY)};
    const std::vector<ua_data_value> told = read(items);
    read_limit_ = limit_in(*told[0], read_limit_);
    browse_limit_ = limit_in(*told[1], browse_limit_);
    const UA_Variant& uris = told[2]->value;
    if (told[2]->hasValue && uris.type == &UA_TYPES[UA_TYPES_STRING] && !opcua::is_scalar(uris)) {
        for (const UA_String& uri :
             elements(static_cast<const UA_String*>(uris.data), uris.arrayLength)) {
            namespaces_.emplace_back(opcua::view_of(uri));
        }
    }
}

std::vector<ua_data_value> node_requests::read(std::span<const UA_ReadValueId> items) {
    std::vector<ua_data_value> results(items.size());
    const auto ask = [&](std::size_t begin, std::size_t size) {
        return read_once(items.subspan(begin, size), std::span{results}.subspan(begin, size));
    };
    const auto refuse = [&results](std::size_t index, UA_StatusCode status) {
        results[index]->hasStatus = true;
        results[index]->status = status;
    };
    in_pieces(0, items.size(), read_limit_, ask, refuse);
    return results;
}

UA_StatusCode
node_requests::read_once(std::span<const UA_ReadValueId> items, std::span<ua_data_value> results) {
    UA_ReadRequest request{};
    request.nodesToRead = const_cast<UA_ReadValueId*>(items.data()); // only read
    request.nodesToReadSize = items.size();
    const opcua::ua_read_response response = services_.read(request);
    if (UA_StatusCode_isGood(response->responseHeader.serviceResult)) {
        check_length(response->resultsSize, items.size());
        for (std::size_t i = 0; i < items.size(); ++i) {
            results[i] = ua_data_value{std::exchange(response->results[i], UA_DataValue{})};
        }
    }
    return response->responseHeader.serviceResult;
}

std::vector<browse_answer>
node_requests::browse(std::span<const UA_NodeId> nodes, browse_pages pages) {
    std::vector<browse_answer> answers(nodes.size());
    const auto ask = [&](std::size_t begin, std::size_t size) {
        return browse_once(
            nodes.subspan(begin, size), std::span{answers}.subspan(begin, size), pages
        );
    };
    const auto refuse = [&answers](std::size_t index, UA_StatusCode status) {
        answers[index].status = status;
    };
    in_pieces(0, nodes.size(), browse_limit_, ask, refuse);
    // Servers keep few lists open at a time: those for which they had none are asked for again, one
    // by one.
    for (std::size_t i = 0; i < nodes.size() && nodes.size() > 1; ++i) {
        if (answers[i].status == UA_STATUSCODE_BADNOCONTINUATIONPOINTS) {
            answers[i] = {};
            in_pieces(i, 1, browse_limit_, ask, refuse);
        }
    }
    return answers;
}

UA_StatusCode node_requests::browse_once(
    std::span<const UA_NodeId> nodes, std::span<browse_answer> answers, browse_pages& pages
) {
    std::vector<UA_BrowseDescription> descriptions(nodes.size());
    std::ranges::transform(nodes, descriptions.begin(), [](const UA_NodeId& node) {
        UA_BrowseDescription description{};
        description.nodeId = node;
        description.browseDirection = UA_BROWSEDIRECTION_FORWARD;
        description.referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
        description.includeSubtypes = true;
        description.resultMask = UA_BROWSERESULTMASK_REFERENCETYPEID |
                                 UA_BROWSERESULTMASK_NODECLASS | UA_BROWSERESULTMASK_BROWSENAME |
                                 UA_BROWSERESULTMASK_DISPLAYNAME;
        return description;
    });
    UA_BrowseRequest request{};
    request.requestedMaxReferencesPerNode = pages.size;
    request.nodesToBrowse = descriptions.data();
    request.nodesToBrowseSize = descriptions.size();
    const opcua::ua_browse_response response = services_.browse(request);
    if (!UA_StatusCode_isGood(response->responseHeader.serviceResult)) {
        return response->responseHeader.serviceResult;
    }
    check_length(response->resultsSize, nodes.size());
    std::vector<open_list> open;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        opcua::ua_string point = take(response->results[i], answers[i], pages.room);
        if (point->length > 0) {
            open.push_back({&answers[i], std::move(point)});
        }
    }
    while (!open.empty() && !pages.first_only && pages.room > 0 && !stop_()) {
        open = next_pages(open, pages);
    }
    release(open);
    return UA_STATUSCODE_GOOD;
}

/// Lists that go on without bringing anything are given back: their mark is no good.
/// @return the lists that go on
std::vector<node_requests::open_list>
node_requests::next_pages(const std::vector<open_list>& open, browse_pages& pages) const {
    const opcua::ua_browse_next_response response = browse_next(open, false);
    if (const UA_StatusCode status = response->responseHeader.serviceResult;
        !UA_StatusCode_isGood(status)) {
        throw opcua::exceptions::opcua_request_failed{opcua::status_name(status)};
    }
    check_length(response->resultsSize, open.size());
    std::vector<open_list> next;
    std::vector<open_list> endless;
    for (std::size_t i = 0; i < open.size(); ++i) {
        const bool brought_something = response->results[i].referencesSize > 0;
        opcua::ua_string point = take(response->results[i], *open[i].answer, pages.room);
        if (point->length > 0 && !brought_something) {
            open[i].answer->status = UA_STATUSCODE_BADCONTINUATIONPOINTINVALID;
        }
        if (point->length > 0) {
            (brought_something ? next : endless).push_back({open[i].answer, std::move(point)});
        }
    }
    release(endless);
    return next;
}

/// A server that does not release them does so at the end of the session.
void node_requests::release(const std::vector<open_list>& open) const {
    if (!open.empty()) {
        static_cast<void>(browse_next(open, true));
    }
    for (const open_list& each : open) {
        each.answer->more = true;
    }
}

opcua::ua_browse_next_response
node_requests::browse_next(const std::vector<open_list>& open, bool release) const {
    std::vector<UA_ByteString> points(open.size());
    std::ranges::transform(open, points.begin(), [](const open_list& each) { return *each.point; });
    UA_BrowseNextRequest request{};
    request.releaseContinuationPoints = release;
    request.continuationPoints = points.data();
    request.continuationPointsSize = points.size();
    return services_.browse_next(request);
}

} // namespace tarvik::monitoring_modules::probe
