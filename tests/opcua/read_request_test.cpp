#include "common/catalogue/opcua_exceptions.hpp"
#include "opcua/client/read_request.hpp"
#include "opcua/nodes/nodes_open62541.hpp"

#include <functional>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules::opcua;

namespace {

/// A response with a good Int32 result for each item but those that a test spoils.
class made_up_response {
  public:
    explicit made_up_response(std::size_t results) {
        response_->results =
            static_cast<UA_DataValue*>(UA_Array_new(results, &UA_TYPES[UA_TYPES_DATAVALUE]));
        response_->resultsSize = results;
        for (std::size_t i = 0; i < results; ++i) {
            const auto number = static_cast<UA_Int32>(i + 1);
            UA_Variant_setScalarCopy(&at(i).value, &number, &UA_TYPES[UA_TYPES_INT32]);
            at(i).hasValue = true;
        }
    }

    UA_DataValue& at(std::size_t i) { return response_->results[i]; }
    made_up_response& service_result(UA_StatusCode status) {
        response_->responseHeader.serviceResult = status;
        return *this;
    }
    made_up_response& result(std::size_t i, UA_StatusCode status) {
        at(i).hasStatus = true;
        at(i).status = status;
        return *this;
    }
    ua_read_response take() { return std::move(response_); }

  private:
    ua_read_response response_;
};

std::shared_ptr<readable_variable_node_interface> known_node(const std::string& id) {
    std::shared_ptr<readable_variable_node_interface> node = make_readable_node(id);
    for (const auto attribute :
         {attribute_id::browse_name, attribute_id::display_name, attribute_id::description}) {
        node->set_attribute(attribute, {});
    }
    return node;
}

class read_request_of_two : public testing::Test {
  protected:
    std::shared_ptr<readable_variable_node_interface> first = known_node("ns=2;s=first");
    std::shared_ptr<readable_variable_node_interface> second = known_node("ns=2;s=second");
    read_request request{{first, second}};

    /// The text of the error in which applying a response ends.
    std::string error_of(made_up_response& response) {
        try {
            request.apply(response.take(), nullptr);
            return "no error";
        } catch (const exceptions::opcua_failure& error) {
            return error.what();
        }
    }
};

TEST_F(read_request_of_two, asks_once_for_each_attribute_in_order) {
    const auto fresh = std::shared_ptr<generic_node_interface>{make_readable_node("i=1")};
    read_request mixed{{fresh, second}};
    const UA_ReadRequest stack = mixed.stack_request();
    ASSERT_EQ(stack.nodesToReadSize, 5U);
    const UA_UInt32 attributes[] = {3, 4, 5, 13, 13};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(stack.nodesToRead[i].attributeId, attributes[i]);
    }
    EXPECT_TRUE(UA_NodeId_equal(&stack.nodesToRead[4].nodeId, &second->node_id()));
}

TEST_F(read_request_of_two, hands_each_result_to_its_node) {
    made_up_response response{2};
    request.apply(response.take(), nullptr);
    EXPECT_EQ(first->value_as_int64(), 1);
    EXPECT_EQ(second->value_as_int64(), 2);
}

TEST_F(read_request_of_two, passes_over_a_good_result_without_a_value) {
    made_up_response before{2};
    request.apply(before.take(), nullptr);
    made_up_response response{2};
    response.at(0).hasValue = false;
    request.apply(response.take(), nullptr);
    EXPECT_EQ(first->value_as_int64(), 1);
}

TEST_F(read_request_of_two, maps_every_service_result) {
    struct row {
        UA_StatusCode status;
        std::string text;
    };
    const std::string closed = "The connection to the OPC UA server was closed unexpectedly.";
    const auto failed = [](const std::string& name) {
        return "The sensor could not request data from the OPC UA server (" + name + ").";
    };
    const row rows[] = {
        {UA_STATUSCODE_BADSESSIONIDINVALID, closed},
        {UA_STATUSCODE_BADSESSIONCLOSED, closed},
        {UA_STATUSCODE_BADSESSIONNOTACTIVATED, closed},
        {UA_STATUSCODE_BADCONNECTIONCLOSED, closed},
        {UA_STATUSCODE_BADSECURECHANNELCLOSED, failed("BadSecureChannelClosed")},
        {UA_STATUSCODE_BADTIMEOUT, failed("BadTimeout")},
        {UA_STATUSCODE_BADTOOMANYOPERATIONS, failed("BadTooManyOperations")},
        {0x80FF0000, failed("Unknown StatusCode")},
    };
    for (const auto& [status, text] : rows) {
        made_up_response response{2};
        EXPECT_EQ(error_of(response.service_result(status)), text);
    }
}

TEST_F(read_request_of_two, updates_no_node_when_the_number_of_results_is_wrong) {
    for (const std::size_t count : {0U, 1U, 3U}) {
        made_up_response response{count};
        EXPECT_EQ(error_of(response), "Response size does not match request size.");
        EXPECT_THROW(static_cast<void>(first->data_type()), exceptions::value_not_set);
    }
}

TEST_F(read_request_of_two, stops_at_the_first_bad_result) {
    made_up_response unknown{2};
    EXPECT_EQ(
        error_of(unknown.result(1, UA_STATUSCODE_BADNODEIDUNKNOWN)),
        "The provided NodeID (ns=2;s=second) is unknown to the server."
    );
    EXPECT_EQ(first->value_as_int64(), 1);
    const auto read_failed = [](const std::string& name) {
        return "The sensor could not read data from the OPC UA server (" + name + ").";
    };
    made_up_response with_value{2}; // a bad status counts whatever comes with it
    EXPECT_EQ(
        error_of(with_value.result(0, UA_STATUSCODE_BADSENSORFAILURE)),
        read_failed("BadSensorFailure")
    );
    made_up_response attribute{2};
    EXPECT_EQ(
        error_of(attribute.result(0, UA_STATUSCODE_BADATTRIBUTEIDINVALID)),
        read_failed("BadAttributeIdInvalid")
    );
    made_up_response uncertain{2};
    EXPECT_EQ(
        error_of(uncertain.result(0, UA_STATUSCODE_UNCERTAINLASTUSABLEVALUE)),
        read_failed("UncertainLastUsableValue")
    );
}

TEST(read_request, tolerates_a_missing_description_only) {
    const std::shared_ptr<readable_variable_node_interface> node = make_readable_node("i=1");
    node->set_attribute(attribute_id::browse_name, {});
    node->set_attribute(attribute_id::display_name, {});
    const read_request request{{node}};
    made_up_response response{2};
    response.result(0, UA_STATUSCODE_BADATTRIBUTEIDINVALID).at(0).hasValue = false;
    request.apply(response.take(), nullptr);
    EXPECT_EQ(node->value_as_int64(), 2);
    EXPECT_THROW(static_cast<void>(node->description()), exceptions::description_not_set);
}

TEST(read_request, refuses_what_cannot_be_read) {
    EXPECT_THROW(read_request{{nullptr}}, exceptions::prepare_request_failed);
    const std::shared_ptr<generic_node_interface> generic = make_generic_node("i=1");
    EXPECT_THROW(read_request{{generic}}, exceptions::prepare_request_failed);
    EXPECT_EQ(read_request{{}}.size(), 0U);
}

} // namespace
