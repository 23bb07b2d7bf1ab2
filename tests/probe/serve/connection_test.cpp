// One connection with its sensors, and a module that does what the test says.

#include "probe/serve/connection_lane.hpp"
#include "probe/serve/metrics/own_metrics.hpp"
#include "probe/serve/metrics_observer.hpp"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

class fake_module final : public module_access {
  public:
    module_answer create(std::int32_t /*id*/, const std::string&, bool) override { return {}; }
    module_answer scan(std::int32_t id, bool) override {
        module_answer answer;
        answer.result.emplace().sensor_id = id;
        return answer;
    }
    void destroy(std::int32_t) noexcept override {}
    std::optional<bool> has_matching_endpoint(const std::string&) override { return {}; }
};

[[nodiscard]] sensor_plan plan(const std::string& name) {
    return {name, "custom_sensor", "plc:4840", name, ""};
}

// A shared pointer that one thread replaces while another one reads it may point to what is gone.
TEST(connection, lets_sensors_go_while_others_are_scanned) {
    fake_module module;
    const module_document document;
    board shown;
    own_metrics own{"1"};
    metrics_observer observer{own};
    connection_lane lane{{module, document, shown, observer}, "plc:4840"};
    std::atomic<bool> ended = false;
    std::thread scans{[&] {
        while (!ended) {
            lane.run();
        }
    }};
    for (std::int32_t id = 1; id < 500; ++id) {
        lane.add(plan("in its interval"), id);
        auto answer = lane.request(plan("asked for"), id + 1'000, false, nullptr);
        lane.remove(id); // perhaps while it is scanned, or the other one
        answer.wait();
    }
    lane.remove_all();
    while (!lane.empty()) {
        std::this_thread::yield();
    }
    ended = true;
    scans.join();
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
