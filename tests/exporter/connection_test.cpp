// One connection with its sensors: when they are scanned, and what becomes of them when the server
// is gone. The time stands still until the test lets it pass.

#include "tests/exporter/fake_module.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;

constexpr const char* unreachable = "#:error.opcua_connection_failed[BadTimeout]";
constexpr const char* wrong_password = "#:error.opcua_connection_failed[BadUserAccessDenied]";
constexpr const char* ambiguous = "#:error.opcua_connection_failed[BadIdentityTokenRejected]";
constexpr const char* unknown_node = "#:error.nodeid_unknown[i=1]";

class connection_test : public testing::Test {
  protected:
    /// Lets the time pass in small steps and does what is due.
    void pass(std::chrono::milliseconds time, std::chrono::milliseconds step = 100ms) {
        run_what_is_due();
        for (auto passed = 0ms; passed < time; passed += step) {
            time_.pass(step);
            run_what_is_due();
        }
    }
    void run_what_is_due() {
        for (int i = 0; i < 100 && connection_.due() <= time_.now(); ++i) {
            connection_.run();
        }
        EXPECT_GT(connection_.due(), time_.now()) << "it would never rest";
    }
    /// Scans fail from now on; without an identity they succeed.
    void fail(const std::string& identity) {
        module_.when_scanned = [identity](std::int32_t id, const std::string&) {
            return answer_of(id, identity);
        };
    }
    /// @return scans of the sensors a and b, which fail
    int attempts_in(std::chrono::milliseconds time, const std::string& identity) {
        const auto before = module_.count("scan a") + module_.count("scan b");
        fail(identity);
        pass(time);
        return static_cast<int>(module_.count("scan a") + module_.count("scan b") - before);
    }
    [[nodiscard]] std::shared_ptr<const sensor_snapshot> shown(const std::string& name) const {
        for (const auto& each : store_.view().sensors) {
            if (each->name == name) {
                return each;
            }
        }
        return nullptr;
    }
    [[nodiscard]] std::optional<int> late() const {
        return value_of("opcua_probe_late_scans_total", own_);
    }
    [[nodiscard]] int retries() const {
        return value_of(R"(opcua_probe_retries_total{server="plc:4840"})", own_).value_or(0);
    }
    [[nodiscard]] std::optional<int> sessions() const {
        return value_of(R"(opcua_probe_sessions{server="plc:4840"})", own_);
    }
    [[nodiscard]] connection_state state() const { return store_.view().connections.at(0).state; }

    fake_time time_;
    fake_module module_;
    const module_document document_{};
    snapshot_store store_{time_};
    own_metrics own_{"1"};
    server_connection connection_{{module_, document_, time_, store_, own_}, "plc:4840"};
};

TEST_F(connection_test, scans_each_sensor_once_in_each_interval) {
    connection_.add(plan_of("ten seconds"), 1);
    connection_.add(plan_of("one second", 1s), 2);
    pass(100s);
    EXPECT_EQ(module_.count("scan ten seconds"), 11); // the first one at once
    EXPECT_EQ(module_.count("scan one second"), 101);
    EXPECT_EQ(module_.count("create one second"), 1);
    EXPECT_EQ(late(), 0);
    EXPECT_EQ(sessions(), 1);
    EXPECT_EQ(state(), connection_state::ready);
    EXPECT_EQ(store_.view().connections.at(0).sensors, 2U);
}

TEST_F(connection_test, counts_intervals_in_which_there_was_no_time) {
    connection_.add(plan_of("slow", 100s), 1);
    connection_.add(plan_of("waits", 10s), 2);
    pass(0s);
    bool slow = true;
    module_.when_scanned = [this, &slow](std::int32_t id, const std::string& name) {
        if (name == "slow" && std::exchange(slow, false)) {
            time_.pass(35s);
        }
        return answer_of(id);
    };
    pass(100s);
    EXPECT_FALSE(slow);
    EXPECT_EQ(late(), 1) << "the one that waits, not the one that is slow";
}

TEST_F(connection_test, asks_a_server_that_is_down_with_one_sensor_and_less_and_less) {
    connection_.add(plan_of("a", 100ms), 1);
    connection_.add(plan_of("b", 100ms), 2);
    pass(1s);
    const auto attempts = attempts_in(10s, unreachable);
    EXPECT_GE(attempts, 3);
    EXPECT_LE(attempts, 5); // after 1, 2, 4 s, a quarter sooner or later
    EXPECT_EQ(retries(), attempts - 1);
    EXPECT_EQ(late(), 0);
    EXPECT_EQ(state(), connection_state::unreachable);
    EXPECT_GT(store_.view().connections.at(0).next_attempt, time_.wall());
}

TEST_F(connection_test, asks_at_the_end_as_often_as_its_quickest_sensor_needs) {
    for (const auto& [interval, identity, least, most] :
         std::vector<std::tuple<std::chrono::milliseconds, const char*, int, int>>{
             {100ms, unreachable, 60, 100}, // in 10 min, once in 6 s to 10 s
             {10s, unreachable, 32, 54},
             {40s, unreachable, 10, 15},
             {100ms, wrong_password, 10, 17}}) { // servers lock users
        connection_.add(plan_of("a", 2h), 1);
        connection_.add(plan_of("b", interval), 2);
        attempts_in(5min, identity);
        const auto attempts = attempts_in(10min, identity);
        EXPECT_TRUE(least <= attempts && attempts <= most)
            << attempts << " in intervals of " << interval.count() << " ms, " << identity;
        connection_.remove({});
        pass(0s);
    }
}

TEST_F(connection_test, shows_siblings_of_a_sensor_that_found_the_server_gone_as_not_reached) {
    connection_.add(plan_of("finds out", 1s), 1);
    connection_.add(plan_of("sibling", 1h), 2);
    pass(2s);
    EXPECT_EQ(shown("sibling")->state, sensor_state::ok);
    fail(unreachable);
    pass(1s);
    for (const char* const name : {"finds out", "sibling"}) {
        EXPECT_EQ(shown(name)->state, sensor_state::error) << name;
        EXPECT_TRUE(shown(name)->stale) << name;
        EXPECT_EQ(shown(name)->identity, unreachable) << name;
        EXPECT_EQ(shown(name)->channels.size(), 1U) << "the old values, as such";
        EXPECT_TRUE(shown(name)->last_good);
    }
    EXPECT_EQ(sessions(), 0);
    fail("");
    pass(2min, 1s);
    EXPECT_EQ(state(), connection_state::ready);
    EXPECT_FALSE(store_.view().connections.at(0).next_attempt);
    EXPECT_FALSE(store_.view().connections.at(0).fault);
    EXPECT_EQ(shown("finds out")->state, sensor_state::ok);
    EXPECT_FALSE(shown("finds out")->stale);
    EXPECT_EQ(sessions(), 1);
}

TEST_F(connection_test, goes_on_in_its_intervals_once_the_server_is_back) {
    connection_.add(plan_of("a", 1s), 1);
    connection_.add(plan_of("b", 1s), 2);
    fail(unreachable);
    pass(5min, 1s);
    fail("");
    pass(75s, 1s); // the longest wait
    const auto before = module_.count("scan a");
    const int before_retries = retries();
    pass(20s);
    EXPECT_EQ(module_.count("scan a"), before + 20);
    EXPECT_EQ(shown("b")->state, sensor_state::ok);
    EXPECT_EQ(retries(), before_retries);
    EXPECT_EQ(late(), 0);
}

TEST_F(connection_test, finds_out_what_a_rejected_identity_means) {
    for (const auto& [endpoint, expected] :
         std::vector<std::pair<std::optional<bool>, connection_state>>{
             {false, connection_state::no_matching_endpoint},
             {true, connection_state::bad_credentials},
             {std::nullopt, connection_state::bad_credentials}}) {
        fake_module module;
        module.endpoint = endpoint;
        module.when_created = [](std::int32_t id, const std::string&) {
            module_answer answer = answer_of(id, ambiguous);
            answer.status = OPCUA_MODULE_FAILED;
            return answer;
        };
        snapshot_store store{time_};
        server_connection asked{{module, document_, time_, store, own_}, "plc:4840"};
        asked.add(plan_of("a", 1s), 1);
        for (int i = 0; i < 20; ++i) {
            asked.run();
            time_.pass(10s);
        }
        EXPECT_EQ(store.view().connections.at(0).state, expected);
        EXPECT_EQ(module.count("check check"), 1) << "the answer is known after the first time";
        EXPECT_GT(module.count("create a"), 3);
    }
}

TEST_F(connection_test, tries_a_sensor_that_cannot_be_made_less_and_less_and_leaves_others_alone) {
    module_.when_created = [](std::int32_t id, const std::string& name) {
        module_answer answer = answer_of(id, unknown_node);
        answer.status = name == "wrong" ? OPCUA_MODULE_FAILED : OPCUA_MODULE_DONE;
        return answer;
    };
    connection_.add(plan_of("wrong", 100ms), 1);
    connection_.add(plan_of("right", 1s), 2);
    pass(60s);
    EXPECT_GE(module_.count("create wrong"), 7); // once in 6 s to 10 s at the end
    EXPECT_LE(module_.count("create wrong"), 12);
    EXPECT_EQ(module_.count("scan right"), 61);
    EXPECT_EQ(shown("right")->state, sensor_state::ok);
    EXPECT_EQ(shown("wrong")->identity, unknown_node);
    EXPECT_EQ(state(), connection_state::ready);
    EXPECT_EQ(retries(), 0);
}

TEST_F(connection_test, shows_what_a_module_without_a_result_did) {
    module_.when_created = [](std::int32_t, const std::string&) {
        module_answer answer;
        answer.status = OPCUA_MODULE_REFUSED;
        return answer;
    };
    connection_.add(plan_of("a"), 1);
    pass(0s);
    EXPECT_EQ(shown("a")->text, "The module refused to create the sensor, without a result");
    EXPECT_EQ(shown("a")->state, sensor_state::error);
}

TEST_F(connection_test, answers_requests_at_once_and_keeps_their_sensors_for_a_while) {
    connection_.add(plan_of("in intervals", 1s), 1);
    fail(unreachable);
    pass(0s);
    fail("");
    const auto held = std::make_shared<int>(0);
    auto first = connection_.request(plan_of("asked"), 7, true, held);
    run_what_is_due();
    scan_outcome outcome = first.get();
    EXPECT_FALSE(outcome.fault);
    EXPECT_EQ(outcome.shown->id, 7);
    EXPECT_EQ(outcome.notes.lines.take().size(), 1U);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(shown("asked"), nullptr) << "it is for those who ask";
    pass(4min, 1s);
    auto second = connection_.request(plan_of("asked"), 8, false, nullptr);
    run_what_is_due();
    EXPECT_EQ(second.get().shown->id, 7);
    EXPECT_EQ(module_.count("create asked"), 1);
    pass(4min, 1s);
    EXPECT_EQ(module_.count("destroy asked"), 0);
    pass(2min, 1s);
    EXPECT_EQ(module_.count("destroy asked"), 1);
    EXPECT_EQ(module_.count("scan asked"), 2);
}

TEST_F(connection_test, ends_with_its_last_sensor) {
    connection_.add(plan_of("a"), 1);
    connection_.add(plan_of("b"), 2);
    pass(1s);
    connection_.remove(1);
    run_what_is_due();
    EXPECT_EQ(module_.count("destroy a"), 1);
    EXPECT_EQ(shown("a"), nullptr);
    EXPECT_FALSE(connection_.empty());
    EXPECT_EQ(sessions(), 1);
    connection_.remove(std::nullopt);
    run_what_is_due();
    EXPECT_TRUE(connection_.empty());
    EXPECT_EQ(sessions(), std::nullopt) << "the series is gone";
    EXPECT_TRUE(store_.view().connections.empty());
    EXPECT_EQ(connection_.due(), timed_task::never);
}

// A shared pointer that one thread replaces while another one reads it may point to what is gone.
TEST_F(connection_test, lets_sensors_go_while_others_are_scanned) {
    std::atomic<bool> ended = false;
    std::thread scans{[&] {
        while (!ended) {
            connection_.run();
        }
    }};
    for (std::int32_t id = 1; id < 500; ++id) {
        connection_.add(plan_of("in its interval"), id);
        auto answer = connection_.request(plan_of("asked for"), id + 1'000, false, nullptr);
        connection_.remove(id); // perhaps while it is scanned, or the other one
        answer.wait();
    }
    connection_.remove(std::nullopt);
    EXPECT_TRUE(comes_true([this] { return connection_.empty(); }));
    ended = true;
    scans.join();
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
