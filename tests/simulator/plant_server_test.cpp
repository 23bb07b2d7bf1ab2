// How the server behaves: start and stop, hanging, sessions, its own diagnostics, silence, and use
// from many threads.

#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"

#include <atomic>

namespace tarvik::simulator {
namespace {

using namespace std::chrono_literals;
constexpr const char* temperature = "ns=2;s=Boiler.Temperature";

plant_options still(plant_options options = {}) {
    options.auto_change = false;
    return options;
}

TEST(plant_server, restarts_on_its_port_and_says_when_it_is_taken) {
    plant_server plant{still()};
    EXPECT_EQ(plant.port(), 0);
    plant.start();
    const std::uint16_t port = plant.port();
    EXPECT_NE(port, 0);
    EXPECT_EQ(plant.endpoint_url(), "opc.tcp://127.0.0.1:" + std::to_string(port) + "/");
    plant_server rival{still({.port = port})};
    EXPECT_THROW(rival.start(), plant_error);
    EXPECT_FALSE(rival.running());

    test_client client{2s};
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    plant.restart();
    EXPECT_EQ(plant.port(), port);
    EXPECT_EQ(plant.session_count(), 0U);
    EXPECT_NE(client.read(temperature), UA_STATUSCODE_GOOD) << "its connection is gone";
    plant.stop();
    plant.stop();
    EXPECT_FALSE(plant.running());
    EXPECT_NE(test_client{2s}.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(value_text(plant.get_value(temperature).get()), "72.5");
    rival.start();
    EXPECT_THROW(plant.start(), plant_error);
}

TEST(plant_server, hangs_while_frozen_and_recovers) {
    plant_server plant{still()};
    plant.start();
    test_client client{2s};
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    plant.freeze();
    EXPECT_EQ(client.read(temperature), UA_STATUSCODE_BADTIMEOUT);
    plant.set_value(temperature, 1.5);
    EXPECT_EQ(value_text(plant.get_value(temperature).get()), "1.5");
    plant.thaw();
    test_client after;
    ASSERT_EQ(after.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(after.shown(temperature), "Double 1.5");
    plant.freeze();
    plant.freeze();
    plant.stop(); // must not wait for a thaw
    plant.freeze();
    plant.start();
    test_client again;
    EXPECT_EQ(again.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
}

TEST(plant_server, counts_limits_and_drops_sessions) {
    plant_server plant{still({.max_sessions = 2})};
    plant.start();
    test_client first;
    test_client second;
    ASSERT_EQ(first.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    ASSERT_EQ(second.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(plant.session_count(), 2U);
    EXPECT_EQ(test_client{}.connect(plant.endpoint_url()), UA_STATUSCODE_BADTOOMANYSESSIONS);
    plant.close_all_sessions();
    EXPECT_EQ(plant.session_count(), 0U);
    const UA_StatusCode status = first.read(temperature);
    EXPECT_TRUE(
        status == UA_STATUSCODE_BADSESSIONIDINVALID || status == UA_STATUSCODE_BADSESSIONCLOSED
    ) << UA_StatusCode_name(status);
}

TEST(plant_server, a_session_ends_after_its_time_out) {
    plant_server plant{still({.session_timeout = 100ms})};
    plant.start();
    test_client client;
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(comes_true([&] { return plant.session_count() == 0; }));
    EXPECT_NE(client.read(temperature), UA_STATUSCODE_GOOD);
}

TEST(plant_server, counts_read_requests_and_the_values_in_them) {
    plant_server plant{still()};
    plant.start();
    EXPECT_EQ(plant.value_read_count(), 0U);
    test_client client;
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    const std::uint64_t requests = plant.read_request_count();
    client.read_all({temperature, temperature, temperature});
    EXPECT_EQ(plant.read_request_count(), requests + 1);
    EXPECT_EQ(plant.value_read_count(), 3U);
}

std::string id(int number) {
    return "ns=0;i=" + std::to_string(number);
}

UA_ServerStatusDataType status_of(test_client& client) {
    variant value;
    client.read(id(2256), value);
    if (!UA_Variant_hasScalarType(&value.get(), &UA_TYPES[UA_TYPES_SERVERSTATUSDATATYPE])) {
        ADD_FAILURE() << client.shown(id(2256));
        return {};
    }
    auto status = *static_cast<const UA_ServerStatusDataType*>(value->data);
    EXPECT_EQ(view(status.buildInfo.manufacturerName), "Tarvik");
    status.buildInfo = {}; // is gone with the value, as is the reason
    status.shutdownReason = {};
    return status;
}

TEST(plant_server, tells_of_itself_and_hides_its_counters) {
    plant_server plant{still()};
    plant.start();
    test_client client;
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    const std::vector<int> counters{
        2276, 2277, 2278, 2279, 3705, 2281, 2282, 2284, 2285, 2286, 2287, 2288};
    for (const int counter : counters) {
        const bool counts_us = counter == 2277 || counter == 2278;
        EXPECT_EQ(client.shown(id(counter)), counts_us ? "UInt32 1" : "UInt32 0") << counter;
    }
    EXPECT_EQ(client.shown(id(2294)), "Boolean true");
    EXPECT_EQ(client.shown(id(2259)), "Int32 0");
    for (const int clock : {2257, 2258}) {
        variant time;
        ASSERT_EQ(client.read(id(clock), time), UA_STATUSCODE_GOOD);
        ASSERT_TRUE(UA_Variant_hasScalarType(&time.get(), &UA_TYPES[UA_TYPES_DATETIME]));
        const UA_DateTime age = UA_DateTime_now() - *static_cast<const UA_DateTime*>(time->data);
        EXPECT_TRUE(age >= 0 && age < 30 * UA_DATETIME_SEC) << clock;
    }
    std::vector<std::string> all{id(2256), id(2257), id(2258), id(2259), id(2294)};
    std::vector<UA_StatusCode> statuses(all.size(), UA_STATUSCODE_GOOD);
    for (const int counter : counters) {
        all.push_back(id(counter));
    }
    EXPECT_EQ(client.read_all(all), std::vector(all.size(), UA_StatusCode{UA_STATUSCODE_GOOD}));
    plant.set_diagnostics(false);
    EXPECT_EQ(client.shown(id(2294)), "Boolean false");
    statuses.resize(all.size(), UA_STATUSCODE_BADNODEIDUNKNOWN);
    EXPECT_EQ(client.read_all(all), statuses);
    plant.set_value(id(2277), std::uint32_t{99});
    plant.set_diagnostics(true);
    EXPECT_EQ(client.shown(id(2277)), "UInt32 99");
}

TEST(plant_server, tells_of_itself_what_is_set) {
    plant_server plant{still()};
    plant.start();
    test_client before;
    ASSERT_EQ(before.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    const UA_DateTime started = status_of(before).startTime;
    plant.restart();
    test_client client;
    ASSERT_EQ(client.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_GT(status_of(client).startTime, started);
    EXPECT_EQ(status_of(client).state, UA_SERVERSTATE_RUNNING);
    plant.step_clock(std::chrono::hours{-1});
    EXPECT_LT(status_of(client).currentTime, started - 59 * 60 * UA_DATETIME_SEC);

    plant.set_value(id(2257), date_time(0).get());
    plant.set_value(id(2258), date_time(UA_DATETIME_SEC).get());
    plant.set_value(id(2259), std::int32_t{UA_SERVERSTATE_FAILED});
    plant.set_value(id(2294), "no Boolean");
    EXPECT_EQ(client.shown(id(2257)), "DateTime 1601-01-01T00:00:00Z");
    EXPECT_EQ(client.shown(id(2258)), "DateTime 1601-01-01T00:00:01Z");
    EXPECT_EQ(client.shown(id(2259)), "Int32 1");
    EXPECT_EQ(client.shown(id(2294)), "String \"no Boolean\"");
    const UA_ServerStatusDataType status = status_of(client);
    EXPECT_EQ(status.startTime, 0);
    EXPECT_EQ(status.currentTime, UA_DATETIME_SEC);
    EXPECT_EQ(status.state, UA_SERVERSTATE_FAILED);
    for (const int counter : {2277, 3705, 2281, 2282, 2279, 2288, 2287, 2285}) {
        plant.set_value(id(counter), static_cast<std::uint32_t>(counter));
        EXPECT_EQ(client.shown(id(counter)), "UInt32 " + std::to_string(counter));
    }

    plant.set_value(id(2259), "no number");
    EXPECT_EQ(status_of(client).state, UA_SERVERSTATE_RUNNING);
    plant.set_value(id(2256), 1.5);
    EXPECT_EQ(client.shown(id(2256)), "Double 1.5");
    plant.stop();
    EXPECT_EQ(value_text(plant.get_value(id(2277)).get()), "2277");
}

TEST(plant_server, is_silent_unless_a_log_is_asked_for) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::atomic<int> lines{0};
    for (const bool logged : {false, true}) {
        plant_options options = still();
        options.lowest_level = log_level::trace;
        if (logged) {
            options.log = [&](log_level, std::string_view, std::string_view) { ++lines; };
        }
        plant_server plant{options};
        plant.start();
        test_client client;
        client.connect(plant.endpoint_url());
        EXPECT_EQ(lines > 0, logged);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(plant_server, may_be_used_from_many_threads) {
    plant_server plant{{.auto_change = true}};
    plant.start();
    std::atomic<bool> ending{false};
    const auto repeat = [&](auto action) {
        return std::thread{[&ending, action] {
            for (unsigned round = 0; !ending; ++round) {
                action(round);
                std::this_thread::sleep_for(1ms);
            }
        }};
    };
    std::vector<std::thread> threads;
    threads.push_back(repeat([&](unsigned) {
        plant.freeze();
        plant.thaw();
    }));
    threads.push_back(repeat([&](unsigned round) {
        plant.set_value(temperature, static_cast<double>(round));
        plant.advance();
        plant.set_diagnostics(round % 2 == 0);
        plant.set_display_name(temperature, round % 2 == 0 ? "even" : "odd");
    }));
    threads.push_back(repeat([&](unsigned) {
        EXPECT_FALSE(plant.nodes().empty());
        plant.close_all_sessions();
    }));
    for (int round = 0; round < 10; ++round) {
        test_client client{1s};
        client.connect(plant.endpoint_url());
        client.read(temperature);
        client.read_all({"ns=0;i=2256", "ns=0;i=2257", "ns=0;i=2277"});
        if (round == 5) {
            plant.restart();
        }
    }
    ending = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    test_client last;
    ASSERT_EQ(last.connect(plant.endpoint_url()), UA_STATUSCODE_GOOD);
    EXPECT_EQ(last.read(temperature), UA_STATUSCODE_GOOD);
}

} // namespace
} // namespace tarvik::simulator
