#include "probe/serve/scan_scheduler.hpp"

#include <algorithm>
#include <set>
#include <thread>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Connections for requests and intervals together: each may hold a session.
constexpr std::size_t most_lanes_for_requests = 10'000;

} // namespace

const std::shared_ptr<connection_lane>& scan_scheduler::lane_of(const std::string& connection) {
    auto& lane = lanes_[connection];
    if (lane == nullptr) {
        lane = std::make_shared<connection_lane>(context_, connection);
    }
    return lane;
}

void scan_scheduler::apply(const std::vector<sensor_plan>& plans) {
    const std::lock_guard lock{mutex_};
    std::map<std::string, placed_sensor> placed;
    std::set<std::shared_ptr<connection_lane>> changed;
    for (const sensor_plan& plan : plans) {
        const auto before = placed_.find(plan.name);
        if (before != placed_.end() && before->second.plan == plan) {
            placed.insert(placed_.extract(before));
            continue;
        }
        const auto& lane = lane_of(plan.connection);
        lane->add(plan, ++last_id_);
        placed.insert_or_assign(plan.name, placed_sensor{plan, last_id_});
        changed.insert(lane);
    }
    for (const auto& [name, gone] : placed_) {
        const auto& lane = lane_of(gone.plan.connection);
        lane->remove(gone.id);
        changed.insert(lane);
    }
    placed_ = std::move(placed);
    for (const auto& lane : changed) {
        pool_.wake(lane);
    }
    drop_empty_lanes();
}

std::optional<std::future<scan_outcome>>
scan_scheduler::request(const sensor_plan& plan, bool keep_log, std::shared_ptr<void> held) {
    const std::lock_guard lock{mutex_};
    if (!lanes_.contains(plan.connection) && lanes_.size() >= most_lanes_for_requests) {
        drop_empty_lanes();
        if (lanes_.size() >= most_lanes_for_requests) {
            return std::nullopt;
        }
    }
    const auto& lane = lane_of(plan.connection);
    auto answer = lane->request(plan, ++last_id_, keep_log, std::move(held));
    pool_.wake(lane);
    return answer;
}

bool scan_scheduler::stop(std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono_literals;
    lane_map lanes;
    {
        const std::lock_guard lock{mutex_};
        placed_.clear();
        lanes = lanes_;
    }
    for (const auto& [name, lane] : lanes) {
        lane->remove_all();
        pool_.wake(lane);
    }
    const auto is_empty = [](const auto& each) { return each.second->empty(); };
    while (!std::ranges::all_of(lanes, is_empty)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

void scan_scheduler::drop_empty_lanes() {
    for (auto at = lanes_.begin(); at != lanes_.end();) {
        const bool gone = at->second->empty() && pool_.remove(at->second);
        at = gone ? lanes_.erase(at) : std::next(at);
    }
}

} // namespace tarvik::monitoring_modules::probe
