// Answers to Browse, BrowseNext and Read, on their way through the walk over a server's nodes to
// the table and the JSON of `browse`. First byte: which services fail to fit, then answers in their
// order.

#include "explorer/node_presentation.hpp"
#include "explorer/tree_walk.hpp"
#include "opcua/nodes/node_id.hpp"
#include "tests/fuzz/decoded.hpp"
#include "tests/fuzz/doors.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

namespace {

template <typename Result>
[[nodiscard]] Result* some(std::size_t size, std::size_t type) {
    return static_cast<Result*>(UA_Array_new(size, &UA_TYPES[type]));
}

/// Answers as many results as were asked for, as long as the input has some.
class answering_server {
  public:
    explicit answering_server(input_parts& input) : input_{input}, surplus_{input.number()} {}

    [[nodiscard]] opcua::browse_services services() {
        return {
            [this](const UA_BrowseRequest& request) {
                return answer<opcua::ua_browse_response, UA_BrowseResult, UA_TYPES_BROWSERESULT>(
                    request.nodesToBrowseSize
                );
            },
            [this](const UA_BrowseNextRequest& request) {
                return answer<
                    opcua::ua_browse_next_response,
                    UA_BrowseResult,
                    UA_TYPES_BROWSERESULT>(request.continuationPointsSize);
            },
            [this](const UA_ReadRequest& request) {
                return answer<opcua::ua_read_response, UA_DataValue, UA_TYPES_DATAVALUE>(
                    request.nodesToReadSize
                );
            }};
    }

    /// An input that has come to its end brings nothing new, and a real person stops some time.
    [[nodiscard]] bool stopped() { return ++asked_ > 200; }

  private:
    template <typename Response, typename Result, std::size_t Type>
    [[nodiscard]] Response answer(std::size_t asked) {
        Response response;
        if (input_.empty()) {
            response->responseHeader.serviceResult = UA_STATUSCODE_BADTIMEOUT;
            return response;
        }
        const std::size_t size = surplus_ == 255 ? asked + 1 : asked;
        response->results = some<Result>(size, Type);
        response->resultsSize = size;
        for (Result& result : opcua::elements(response->results, size)) {
            bool good = false;
            auto value = decoded<opcua::ua_value<Result, Type>>(input_.part(), good);
            result = value.release();
        }
        return response;
    }

    input_parts& input_;
    unsigned surplus_;
    unsigned asked_ = 0;
};

} // namespace

void browse_answers(std::string_view input) {
    input_parts parts{input};
    answering_server server{parts};
    std::vector<probe::found_node> rows;
    probe::walk_options options;
    options.limit = 300;
    options.match = input.size() % 5 == 0 ? "a" : "";
    tolerate([&] {
        probe::node_requests requests{server.services(), [&] { return server.stopped(); }};
        probe::tree_walk walk{requests, options, [&](probe::found_node&& node) {
                                  require(!probe::node_json(node).empty(), "a node is shown");
                                  rows.push_back(std::move(node));
                              }};
        walk.run(opcua::parse_node_id("i=85"));
        require(walk.summary().shown == rows.size(), "what is shown is counted");
        static_cast<void>(probe::walk_notes(walk.summary(), options));
    });
    require(rows.size() <= options.limit, "a walk has a limit");
    static_cast<void>(probe::node_table(rows, probe::node_order::tree, true));
}

} // namespace tarvik::monitoring_modules::fuzz
