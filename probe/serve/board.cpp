#include "probe/serve/board.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_removals = 1'000;

/// Revisions of one run are none of another, so that a page that outlives a restart gets it all.
/// They stay below 2^53, which browsers can still count.
[[nodiscard]] std::uint64_t revision_of_start() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                          std::chrono::system_clock::now().time_since_epoch()
    )
                                          .count());
}

} // namespace

board::board()
    : first_revision_{revision_of_start()},
      revision_{first_revision_},
      forgotten_{first_revision_} {}

void board::put(std::shared_ptr<const shown_sensor> sensor, bool current) {
    const std::lock_guard lock{mutex_};
    entry& kept = sensors_[sensor->id];
    kept.revision = ++revision_;
    if (current) {
        kept.history.add(sensor->channels, std::chrono::steady_clock::now());
    }
    kept.sensor = std::move(sensor);
}

void board::remove_sensor(std::int32_t id) {
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

void board::put(const shown_connection& connection) {
    const std::lock_guard lock{mutex_};
    ++revision_;
    connections_.insert_or_assign(connection.name, connection);
}

void board::remove_connection(const std::string& name) {
    const std::lock_guard lock{mutex_};
    revision_ += connections_.erase(name);
}

board_view board::view(std::uint64_t since) const {
    const std::lock_guard lock{mutex_};
    board_view result;
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

std::vector<sensor_curves> board::curves(const std::vector<std::int32_t>& ids) const {
    const auto now = std::chrono::steady_clock::now();
    std::vector<sensor_curves> result;
    for (const std::int32_t id : ids) {
        const std::lock_guard lock{mutex_}; // for each one: a long list must not stop the scans
        if (const auto found = sensors_.find(id); found != sensors_.end()) {
            result.push_back({id, found->second.history.curves(now)});
        }
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
