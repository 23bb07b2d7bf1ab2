// What a request did not bring is not there: no node shows what an earlier request brought.

#include "common/catalogue/opcua_exceptions.hpp"
#include "tests/opcua/client_support.hpp"

#include <functional>
#include <string>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace opcua;
using namespace tests;

namespace {

using spoil = std::function<void(UA_ReadResponse&)>;

/// A client whose responses may be spoiled on their way, and three nodes that it reads together.
struct stale_values : testing::Test {
    void set_on_server(std::int32_t first) {
        for (const auto& node : nodes) {
            server->set_value(node_id_text(node->node_id()), first++);
        }
    }

    void read() { client->read_node({nodes.begin(), nodes.end()}); }

    /// The nodes' values; "-" for one without.
    [[nodiscard]] std::string shown() const {
        std::string all;
        for (const auto& node : nodes) {
            try {
                all += std::to_string(node->value_as_int64()) + " ";
            } catch (const exceptions::value_not_set&) {
                all += "- ";
            }
        }
        return all;
    }

    std::unique_ptr<plant> server = start_plant();
    spoil spoiled;
    logged_client client{
        settings_for(*server, 1),
        {[this, real = stack_services().read](UA_Client* stack, const UA_ReadRequest& request) {
             ua_read_response response = real(stack, request);
             if (spoiled) {
                 spoiled(*response);
             }
             return response;
         },
         stack_services().write}};
    std::vector<std::shared_ptr<readable_variable_node_interface>> nodes{
        make_readable_node("ns=2;s=Pump.Speed"),
        make_readable_node("ns=2;s=Tank.Level"),
        make_readable_node("ns=2;s=Counter.Int16")};
};

spoil service_result(UA_StatusCode status) {
    return [status](UA_ReadResponse& response) { response.responseHeader.serviceResult = status; };
}

spoil second_result(UA_StatusCode status) {
    return [status](UA_ReadResponse& response) {
        response.results[1].hasStatus = true;
        response.results[1].status = status;
    };
}

TEST_F(stale_values, are_not_shown_whatever_a_request_brought) {
    const std::string closed = exceptions::opcua_connection_closed{}.what();
    int rest = 0;
    const auto closed_at_first = [&](int times) -> spoil {
        return [&rest, times, started = false](UA_ReadResponse& response) mutable {
            rest = std::exchange(started, true) ? rest : times;
            if (rest-- > 0) {
                response.responseHeader.serviceResult = UA_STATUSCODE_BADSESSIONCLOSED;
            }
        };
    };
    const struct {
        const char* what;
        spoil by;
        std::string error;
        std::string values;
    } rows[] = {
        {"all good", {}, "no error", "11 12 13 "},
        {"good without a value",
         [](UA_ReadResponse& response) { UA_DataValue_clear(&response.results[1]); },
         "no error",
         "11 - 13 "},
        {"good with an empty value",
         [](UA_ReadResponse& response) { UA_Variant_clear(&response.results[1].value); },
         "no error",
         "11 - 13 "},
        {"bad",
         second_result(UA_STATUSCODE_BADSENSORFAILURE),
         could_not("read data from", "BadSensorFailure"),
         "11 - - "},
        {"unknown",
         second_result(UA_STATUSCODE_BADNODEIDUNKNOWN),
         exceptions::nodeid_unknown{"ns=2;s=Tank.Level"}.what(),
         "11 - - "},
        {"failed as a whole",
         service_result(UA_STATUSCODE_BADTOOMANYOPERATIONS),
         could_not("request data from", "BadTooManyOperations"),
         "- - - "},
        {"one result short",
         [](UA_ReadResponse& response) {
             UA_DataValue_clear(&response.results[--response.resultsSize]);
         },
         exceptions::opcua_response_size_mismatch{}.what(),
         "- - - "},
        {"closed, then good", closed_at_first(1), "no error", "11 12 13 "},
        {"closed twice", closed_at_first(2), closed, "- - - "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        spoiled = {};
        set_on_server(1);
        read();
        ASSERT_EQ(shown(), "1 2 3 ");
        spoiled = row.by;
        set_on_server(11);
        EXPECT_EQ(error_of([&] { read(); }), row.error);
        EXPECT_EQ(shown(), row.values);
    }
    spoiled = {};
    read();
    server->stop();
    EXPECT_THROW(read(), exceptions::opcua_connection_failed);
    EXPECT_EQ(shown(), "- - - ");
}

TEST_F(stale_values, are_not_shown_for_what_the_server_has_no_value_for) {
    set_on_server(1);
    read();
    server->set_read_status("ns=2;s=Tank.Level", UA_STATUSCODE_GOODNODATA);
    bool has_value = true;
    spoiled = [&](UA_ReadResponse& response) { has_value = response.results[1].hasValue; };
    read();
    EXPECT_FALSE(has_value) << "the plant sent a value after all";
    EXPECT_EQ(shown(), "1 - 3 ");
    EXPECT_EQ(client.lines("    Update node "), 3 * 4 + 2);
}

TEST_F(stale_values, are_no_reason_to_forget_what_is_to_be_written) {
    const std::string target = "ns=2;s=Write.Int64";
    const auto written = make_writeable_node(target);
    written->set_value(std::int64_t{7});
    read();
    client->write_node_value(*written);
    read();
    client->write_node_value(*written);
    EXPECT_EQ(tarvik::simulator::value_text(server->get_value(target).get()), "7");
}

} // namespace
