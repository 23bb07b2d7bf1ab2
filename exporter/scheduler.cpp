#include "exporter/scheduler.hpp"

#include <algorithm>
#include <set>
#include <thread>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Connections for requests and intervals together: each may hold a session.
constexpr std::size_t most_connections = 10'000;

/// @return whether both are scanned alike, whatever is thought of the values
[[nodiscard]] bool is_same_scan(const sensor_plan& left, sensor_plan right) {
    right.rules = left.rules;
    return left == right;
}

} // namespace

const std::shared_ptr<server_connection>& scheduler::connection_of(const std::string& name) {
    auto& used = connections_[name];
    if (used == nullptr) {
        used = std::make_shared<server_connection>(context_, name);
    }
    return used;
}

void scheduler::apply(const std::vector<sensor_plan>& plans) {
    const std::lock_guard lock{mutex_};
    std::map<std::string, placed_sensor> placed;
    std::set<std::shared_ptr<server_connection>> changed;
    for (const sensor_plan& plan : plans) {
        const auto before = placed_.find(plan.name);
        if (before != placed_.end() && is_same_scan(before->second.plan, plan)) {
            if (before->second.plan.rules != plan.rules) {
                before->second.plan.rules = plan.rules;
                const auto& used = connection_of(plan.connection);
                used->judge_by(before->second.id, plan.rules);
                changed.insert(used);
            }
            placed.insert(placed_.extract(before));
            continue;
        }
        const auto& used = connection_of(plan.connection);
        used->add(plan, ++last_id_);
        placed.insert_or_assign(plan.name, placed_sensor{plan, last_id_});
        changed.insert(used);
    }
    for (const auto& [name, gone] : placed_) {
        const auto& used = connection_of(gone.plan.connection);
        used->remove(gone.id);
        changed.insert(used);
    }
    placed_ = std::move(placed);
    for (const auto& used : changed) {
        pool_.wake(used);
    }
    drop_empty_connections();
}

std::optional<std::future<scan_outcome>>
scheduler::request(const sensor_plan& plan, bool keep_log, std::shared_ptr<void> held) {
    const std::lock_guard lock{mutex_};
    if (!connections_.contains(plan.connection) && connections_.size() >= most_connections) {
        drop_empty_connections();
        if (connections_.size() >= most_connections) {
            return std::nullopt;
        }
    }
    const auto& used = connection_of(plan.connection);
    auto answer = used->request(plan, ++last_id_, keep_log, std::move(held));
    pool_.wake(used);
    return answer;
}

bool scheduler::stop(std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono_literals;
    connection_map connections;
    {
        const std::lock_guard lock{mutex_};
        placed_.clear();
        connections = connections_;
    }
    for (const auto& [name, used] : connections) {
        used->remove(std::nullopt);
        pool_.wake(used);
    }
    const auto is_empty = [](const auto& each) { return each.second->empty(); };
    while (!std::ranges::all_of(connections, is_empty)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

void scheduler::drop_empty_connections() {
    std::erase_if(connections_, [this](const auto& each) {
        return each.second->empty() && pool_.remove(each.second);
    });
}

} // namespace tarvik::monitoring_modules::probe
