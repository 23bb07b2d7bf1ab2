#include "exporter/snapshot.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_removals = 1'000;

/// Revisions of one run are none of another, so that a page that outlives a restart gets it all.
/// They stay below 2^53, which browsers can still count.
[[nodiscard]] std::uint64_t first_revision_at(wall_time start) {
    using std::chrono::milliseconds;
    const auto passed = std::chrono::duration_cast<milliseconds>(start.time_since_epoch());
    return static_cast<std::uint64_t>(passed.count());
}

constexpr auto points = static_cast<std::int64_t>(curve_points);

[[nodiscard]] std::int64_t step_of(curve_history::time_point when) {
    return when.time_since_epoch() / curve_step;
}

[[nodiscard]] std::size_t place_of(std::int64_t step) {
    return static_cast<std::size_t>(((step % points) + points) % points);
}

/// @return what the curve shows: growth of counters, values of others
[[nodiscard]] float shown_value(const channel_view& channel) {
    constexpr float nothing = std::numeric_limits<float>::quiet_NaN();
    const double value = channel.difference ? channel.growth.value_or(nothing) : channel.scaled;
    constexpr double largest = std::numeric_limits<float>::max();
    return std::isfinite(value) ? static_cast<float>(std::clamp(value, -largest, largest))
                                : nothing;
}

} // namespace

snapshot_store::snapshot_store(const time_source& time)
    : time_{time},
      revision_{first_revision_at(time.wall())},
      forgotten_{revision_} {}

void snapshot_store::put(std::shared_ptr<const sensor_snapshot> sensor, bool current) {
    const std::lock_guard lock{mutex_};
    entry& kept = sensors_[sensor->id];
    kept.revision = ++revision_;
    if (current) {
        kept.history.add(sensor->channels, time_.now());
    }
    kept.sensor = std::move(sensor);
}

void snapshot_store::remove_sensor(std::int32_t id) {
    const std::lock_guard lock{mutex_};
    if (sensors_.erase(id) == 0) {
        return;
    }
    removals_.push_back({id, ++revision_});
    if (removals_.size() > most_removals) {
        forgotten_ = removals_.front().revision;
        removals_.pop_front();
    }
}

void snapshot_store::put(const connection_snapshot& connection) {
    const std::lock_guard lock{mutex_};
    ++revision_;
    connections_.insert_or_assign(connection.name, connection);
}

void snapshot_store::remove_connection(const std::string& name) {
    const std::lock_guard lock{mutex_};
    revision_ += connections_.erase(name);
}

snapshot snapshot_store::view(std::uint64_t since) const {
    const std::lock_guard lock{mutex_};
    snapshot result;
    result.revision = revision_;
    result.complete = since < forgotten_ || since > revision_;
    for (const auto& [name, connection] : connections_) {
        result.connections.push_back(connection);
    }
    for (const auto& [id, kept] : sensors_) {
        if (result.complete || kept.revision > since) {
            result.sensors.push_back(kept.sensor);
        }
    }
    for (const removal& gone : removals_) {
        if (!result.complete && gone.revision > since) {
            result.removed.push_back(gone.id);
        }
    }
    return result;
}

std::vector<sensor_curves> snapshot_store::curves(const std::vector<std::int32_t>& ids) const {
    const auto now = time_.now();
    std::vector<sensor_curves> result;
    for (const std::int32_t id : ids) {
        const std::lock_guard lock{mutex_}; // for each one: a long list must not stop the scans
        if (const auto found = sensors_.find(id); found != sensors_.end()) {
            result.push_back({id, found->second.history.curves(now)});
        }
    }
    return result;
}

void curve_history::add(const std::vector<channel_view>& channels, time_point when) {
    const std::int64_t step = step_of(when);
    for (const channel_view& channel : channels) {
        ring& kept = rings_.try_emplace(channel.id, ring{{}, step}).first->second;
        const std::int64_t first_cleared = std::max(kept.last_step + 1, step - points + 1);
        for (std::int64_t passed = first_cleared; passed <= step; ++passed) {
            kept.points[place_of(passed)] = {};
        }
        kept.last_step = std::max(kept.last_step, step);
        const float value = shown_value(channel);
        auto& [low, high] = kept.points[place_of(step)];
        low = std::fmin(low, value); // the one that is no NaN
        high = std::fmax(high, value);
    }
}

std::vector<curve> curve_history::curves(time_point now) const {
    const std::int64_t newest = step_of(now);
    std::vector<curve> result;
    for (const auto& [channel, kept] : rings_) {
        curve& made = result.emplace_back(curve{channel, {}});
        for (std::int64_t step = newest - points + 1; step <= newest; ++step) {
            const bool known = step <= kept.last_step && step > kept.last_step - points;
            made.points.push_back(known ? kept.points[place_of(step)] : curve_point{});
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
