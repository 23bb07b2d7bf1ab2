#pragma once
// A module and a time that do what the test says.

#include "exporter/connection.hpp"
#include "exporter/own_metrics.hpp"
#include "tests/support/patience.hpp"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using test_support::comes_true;

class fake_time final : public time_source {
  public:
    [[nodiscard]] time_point now() const noexcept override { return start_ + passed_.load(); }
    [[nodiscard]] wall_time wall() const noexcept override {
        return wall_time{std::chrono::hours{480'000} + passed_.load()};
    }
    void pass(std::chrono::milliseconds time) { passed_ = passed_.load() + time; }

  private:
    const time_point start_ = std::chrono::steady_clock::now();
    std::atomic<std::chrono::milliseconds> passed_{std::chrono::milliseconds{0}};
};

/// @param identity of an error; empty: a good result with channel 1
[[nodiscard]] inline module_answer answer_of(std::int32_t id, const std::string& identity = "") {
    module_answer answer;
    scan_result& result = answer.result.emplace();
    result.id = id;
    if (identity.empty()) {
        channel_definition speed;
        speed.id = 1;
        speed.name = "Speed";
        speed.limits = {true, {}, {}, 100, {}};
        result.definitions.push_back(speed);
        result.channels.push_back({1, 90.0});
    } else {
        result.state = scan_state::error;
        result.identity = identity;
        result.text = "No";
    }
    return answer;
}

/// Sensors are called by their records. Thread-safe, but for the functions that a test sets.
class fake_module final : public module_access {
  public:
    // NOLINTBEGIN(misc-non-private-member-variables-in-classes): what a test sets
    std::function<module_answer(std::int32_t, const std::string&)> when_created;
    std::function<module_answer(std::int32_t, const std::string&)> when_scanned;
    std::optional<bool> endpoint;
    // NOLINTEND(misc-non-private-member-variables-in-classes)

    module_answer
    create(std::int32_t id, const std::string& record, call_notes& /*notes*/) override {
        const std::lock_guard lock{mutex_};
        calls_.push_back("create " + record);
        records_[id] = record;
        return when_created ? when_created(id, record) : module_answer{};
    }
    module_answer scan(std::int32_t id, call_notes& notes) override {
        const std::lock_guard lock{mutex_};
        calls_.push_back("scan " + records_.at(id));
        if (notes.keep_lines) {
            notes.lines.add(log_line{"runtime", 7, "line"});
        }
        return when_scanned ? when_scanned(id, records_.at(id)) : answer_of(id);
    }
    void destroy(std::int32_t id) noexcept override {
        const std::lock_guard lock{mutex_};
        calls_.push_back("destroy " + records_.at(id));
    }
    std::optional<bool> has_matching_endpoint(const std::string& record) override {
        const std::lock_guard lock{mutex_};
        calls_.push_back("check " + record);
        return endpoint;
    }

    /// @return how often this was called: "scan a"
    [[nodiscard]] std::ptrdiff_t count(const std::string& call) const {
        const std::lock_guard lock{mutex_};
        return std::ranges::count(calls_, call);
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::map<std::int32_t, std::string> records_;
};

/// @param series such as "opcua_probe_late_scans_total"
/// @return its value; nothing when it is not there
[[nodiscard]] inline std::optional<int>
value_of(const std::string& series, const own_metrics& metrics) {
    exposition all;
    metrics.add_to(all, wall_time{});
    const std::string text = all.write(exposition_format::prometheus_text);
    const std::size_t at = text.find("\n" + series + " ");
    return at == std::string::npos ? std::nullopt
                                   : std::optional{std::stoi(text.substr(at + series.size() + 2))};
}

[[nodiscard]] inline sensor_plan
plan_of(const std::string& name, std::chrono::milliseconds interval = std::chrono::seconds{10}) {
    return {name, "custom_sensor", "plc:4840", name, "check", interval};
}

} // namespace tarvik::monitoring_modules::probe
