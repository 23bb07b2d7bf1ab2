#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/read_request.hpp"
#include "opcua/nodes/nodes_open62541.hpp"
#include "tests/opcua/error_text.hpp"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using tests::could_not;

namespace {

using enum attribute_id;
using node_ptr = std::shared_ptr<readable_variable_node_interface>;

/// A response with a result for each status: the Int32 1, 2, 3 and so on, whatever the status.
ua_read_response response_of(const std::vector<UA_StatusCode>& statuses) {
    ua_read_response response;
    response->resultsSize = statuses.size();
    response->results =
        static_cast<UA_DataValue*>(UA_Array_new(statuses.size(), &UA_TYPES[UA_TYPES_DATAVALUE]));
    for (std::size_t i = 0; i < statuses.size(); ++i) {
        const auto number = static_cast<UA_Int32>(i + 1);
        UA_DataValue& result = response->results[i];
        UA_Variant_setScalarCopy(&result.value, &number, &UA_TYPES[UA_TYPES_INT32]);
        result.hasValue = true;
        result.hasStatus = statuses[i] != UA_STATUSCODE_GOOD;
        result.status = statuses[i];
    }
    return response;
}

struct read_request_of_two : testing::Test {
    static node_ptr known_node(const std::string& id) {
        node_ptr node = make_readable_node(id);
        for (const auto text : {browse_name, display_name, description}) {
            node->set_attribute(text, {});
        }
        return node;
    }

    /// The text of the error in which applying a response ends.
    [[nodiscard]] std::string error_of(ua_read_response response) const {
        return tests::error_of([&] { request.apply(std::move(response), nullptr); });
    }

    node_ptr first = known_node("ns=2;s=first");
    node_ptr second = known_node("ns=2;s=second");
    read_request request{{first, second}};
};

TEST_F(read_request_of_two, hands_each_value_to_its_node_and_passes_over_none) {
    EXPECT_EQ(error_of(response_of({0, 0})), "no error");
    EXPECT_EQ(first->value_as_int64(), 1);
    EXPECT_EQ(second->value_as_int64(), 2);
    auto without_value = response_of({0, 0});
    without_value->results[1].hasValue = false;
    EXPECT_EQ(error_of(std::move(without_value)), "no error");
    EXPECT_EQ(second->value_as_int64(), 2);
}

TEST_F(read_request_of_two, finds_the_oldest_value) {
    const auto told = [this](ua_read_response response) {
        const auto time = request.oldest_value(*response);
        return time ? to_text(*time) : "nothing";
    };
    const auto stamped = [](UA_DateTime one, UA_DateTime other) {
        auto response = response_of({0, 0});
        for (std::size_t i = 0; i < 2; ++i) {
            response->results[i].hasSourceTimestamp = true;
            response->results[i].sourceTimestamp = i == 0 ? one : other;
        }
        return response;
    };
    constexpr UA_DateTime epoch = UA_DATETIME_UNIX_EPOCH;
    EXPECT_EQ(told(stamped(epoch + 5 * UA_DATETIME_SEC, epoch + 70'000)), "7 ns=2;s=second");
    EXPECT_EQ(told(stamped(epoch, epoch)), "0 ns=2;s=first");
    EXPECT_EQ(told(stamped(0, epoch)), "-11644473600000 ns=2;s=first");
    auto without = stamped(epoch, epoch + 1);
    without->results[1].hasSourceTimestamp = false;
    EXPECT_EQ(told(std::move(without)), "none ns=2;s=second");
    auto lacking = stamped(epoch, epoch + UA_DATETIME_SEC);
    lacking->results[0].hasValue = false;
    EXPECT_EQ(told(std::move(lacking)), "1000 ns=2;s=second");
    EXPECT_EQ(told({}), "nothing"); // a response that does not fit
}

TEST_F(read_request_of_two, maps_every_service_result) {
    const std::string closed = "The connection to the OPC UA server was closed unexpectedly.";
    const std::string failed = "request data from";
    const std::pair<UA_StatusCode, std::string> rows[] = {
        {UA_STATUSCODE_BADSESSIONIDINVALID, closed},
        {UA_STATUSCODE_BADSESSIONCLOSED, closed},
        {UA_STATUSCODE_BADSESSIONNOTACTIVATED, closed},
        {UA_STATUSCODE_BADCONNECTIONCLOSED, closed},
        {UA_STATUSCODE_BADSECURECHANNELCLOSED, could_not(failed, "BadSecureChannelClosed")},
        {UA_STATUSCODE_BADTIMEOUT, could_not(failed, "BadTimeout")},
        {UA_STATUSCODE_BADTOOMANYOPERATIONS, could_not(failed, "BadTooManyOperations")},
        {0x80FF0000, could_not(failed, "Unknown StatusCode")},
    };
    for (const auto& [status, text] : rows) {
        auto response = response_of({0, 0});
        response->responseHeader.serviceResult = status;
        EXPECT_EQ(error_of(std::move(response)), text);
    }
}

TEST_F(read_request_of_two, updates_no_node_when_the_number_of_results_is_wrong) {
    for (const std::size_t count : {0U, 1U, 3U}) {
        EXPECT_EQ(
            error_of(response_of(std::vector<UA_StatusCode>(count))),
            "Response size does not match request size."
        );
        EXPECT_THROW(std::ignore = first->data_type(), exceptions::value_not_set);
    }
}

TEST_F(read_request_of_two, stops_at_the_first_bad_result_whatever_comes_with_it) {
    const std::string unknown = "The provided NodeID (ns=2;s=second) is unknown to the server.";
    EXPECT_EQ(error_of(response_of({0, UA_STATUSCODE_BADNODEIDUNKNOWN})), unknown);
    EXPECT_EQ(first->value_as_int64(), 1);
    const std::pair<UA_StatusCode, std::string> rows[] = {
        {UA_STATUSCODE_BADSENSORFAILURE, "BadSensorFailure"},
        {UA_STATUSCODE_BADATTRIBUTEIDINVALID, "BadAttributeIdInvalid"},
        {UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE, "UncertainLastUsableValue"},
    };
    for (const auto& [status, name] : rows) {
        EXPECT_EQ(error_of(response_of({status, 0})), could_not("read data from", name));
    }
    EXPECT_THROW(std::ignore = second->data_type(), exceptions::value_not_set);
}

TEST(read_request, tolerates_a_missing_description_only) {
    const node_ptr fresh = make_readable_node("i=1"); // asks for three texts and the value
    auto response = response_of({0, 0, UA_STATUSCODE_BADATTRIBUTEIDINVALID, 0});
    for (UA_DataValue& text : elements(response->results, 3)) {
        text.hasValue = false;
    }
    read_request{{fresh}}.apply(std::move(response), nullptr);
    EXPECT_EQ(fresh->value_as_int64(), 4);
    EXPECT_THROW(std::ignore = fresh->description(), exceptions::description_not_set);
}

TEST(read_request, refuses_what_cannot_be_read) {
    EXPECT_THROW(read_request{{nullptr}}, exceptions::prepare_request_failed);
    const std::shared_ptr generic = make_generic_node("i=1");
    EXPECT_THROW(read_request{{generic}}, exceptions::prepare_request_failed);
    EXPECT_EQ(read_request{{}}.size(), 0U);
}

} // namespace
