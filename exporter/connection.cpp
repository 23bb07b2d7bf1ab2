#include "exporter/connection.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::minutes kept_after_request{5};

[[nodiscard]] std::uint32_t seed_of(const std::string& name) {
    return static_cast<std::uint32_t>(std::hash<std::string>{}(name));
}

/// @return the first time after now that is some whole intervals after the anchor
/// @pre the anchor is not after now
[[nodiscard]] timed_task::time_point next_slot(
    timed_task::time_point anchor, std::chrono::milliseconds interval, timed_task::time_point now
) {
    return anchor + ((now - anchor) / interval + 1) * interval;
}

} // namespace

server_connection::server_connection(const connection_context& context, std::string name)
    : context_{context},
      status_{std::move(name), context.time} {}

std::unique_ptr<server_connection::member>
server_connection::make_member(sensor_plan plan, std::int32_t id) const {
    const std::uint32_t seed = seed_of(plan.name);
    const time_point now = context_.time.now();
    // The first scan comes at once, later ones spread over the interval.
    const time_point anchor = now - plan.interval * (seed % 1000) / 1000;
    return std::make_unique<member>(context_, id, std::move(plan), back_off{seed}, anchor, now);
}

void server_connection::add(sensor_plan plan, std::int32_t id) {
    const std::lock_guard lock{mutex_};
    members_.push_back(make_member(std::move(plan), id));
    context_.shown.put(members_.back()->sensor.shown(), false);
    show_connection();
}

void server_connection::remove(std::int32_t id) {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        one->leaving = one->leaving || one->sensor.id() == id;
    }
}

void server_connection::remove_all() {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        one->leaving = true;
    }
}

std::future<scan_outcome> server_connection::request(
    const sensor_plan& plan, std::int32_t id, bool keep_log, std::shared_ptr<void> held
) {
    const std::lock_guard lock{mutex_};
    const auto found = std::ranges::find_if(members_, [&plan](const auto& one) {
        return one->expires && !one->leaving && one->sensor.plan() == plan;
    });
    member* one = found == members_.end() ? nullptr : found->get();
    if (one == nullptr) {
        one = members_.emplace_back(make_member(plan, id)).get();
        one->next = never;
    }
    one->expires = context_.time.now() + kept_after_request;
    request_waiting& waiting = one->requests.emplace_back();
    waiting.keep_log = keep_log;
    waiting.held = std::move(held);
    return waiting.answer.get_future();
}

bool server_connection::empty() const {
    const std::lock_guard lock{mutex_};
    return members_.empty();
}

timed_task::time_point server_connection::due_of(const member& one) const {
    if (one.leaving || !one.requests.empty()) {
        return time_point::min();
    }
    return one.expires ? *one.expires : std::max(one.next, status_.next_attempt());
}

timed_task::time_point server_connection::due() const {
    const std::lock_guard lock{mutex_};
    time_point first = never;
    for (const auto& one : members_) {
        first = std::min(first, due_of(*one));
    }
    return first;
}

void server_connection::run() noexcept {
    const time_point now = context_.time.now();
    std::unique_ptr<member> gone;
    member* chosen = nullptr;
    {
        const std::lock_guard lock{mutex_};
        gone = take_leaving(now);
        chosen = gone == nullptr ? choose(now) : nullptr;
    }
    try {
        if (gone != nullptr) {
            dismiss(std::move(gone));
        } else if (chosen != nullptr) {
            scan(*chosen);
        }
    } catch (const std::exception&) { // out of memory: perhaps not at the next time
        const std::lock_guard lock{mutex_};
        status_.pause();
    }
}

std::unique_ptr<server_connection::member> server_connection::take_leaving(time_point now) {
    const auto found = std::ranges::find_if(members_, [now](const auto& one) {
        return one->leaving || (one->expires && *one->expires <= now && one->requests.empty());
    });
    if (found == members_.end()) {
        return nullptr;
    }
    std::unique_ptr<member> gone = std::move(*found);
    members_.erase(found);
    return gone;
}

/// @return the sensor that has waited longest
server_connection::member* server_connection::choose(time_point now) {
    member* first = nullptr;
    for (const auto& one : members_) {
        if (due_of(*one) <= now && (first == nullptr || due_of(*one) < due_of(*first))) {
            first = one.get();
        }
    }
    return first;
}

/// Destroys the sensor, which may take the time of a good-bye to the server.
void server_connection::dismiss(std::unique_ptr<member> gone) {
    const std::int32_t id = gone->sensor.id();
    const bool was_shown = !gone->expires;
    gone.reset();
    const std::lock_guard lock{mutex_};
    if (was_shown) {
        context_.shown.remove_sensor(id);
    }
    if (members_.empty()) {
        context_.observer.connection_gone(status_.shown().name);
        status_.leave();
    }
    show_connection();
}

void server_connection::scan(member& one) {
    const time_point started = context_.time.now();
    std::vector<request_waiting> requests;
    bool retry = false;
    {
        const std::lock_guard lock{mutex_};
        requests = std::exchange(one.requests, {});
        retry = status_.fault().has_value();
    }
    if (retry) {
        context_.observer.retried(status_.shown().name);
    }
    const bool keep_log = std::ranges::any_of(requests, &request_waiting::keep_log);
    scan_outcome outcome = one.sensor.scan(keep_log);
    if (outcome.fault && outcome.fault->connection) {
        resolve(one.sensor.plan(), *outcome.fault);
    }
    context_.observer.scanned(one.sensor.plan(), outcome);
    settle(one, outcome, started);
    for (request_waiting& waiting : requests) {
        waiting.held.reset(); // before its next request
        waiting.answer.set_value(outcome);
    }
}

/// Finds out what a server means that rejects an identity.
void server_connection::resolve(const sensor_plan& plan, sensor_fault& fault) const {
    if (!is_ambiguous(fault.identity)) {
        return;
    }
    if (status_.fault() && status_.fault()->identity == fault.identity) { // known already
        fault.connection = status_.fault()->connection;
        return;
    }
    if (context_.module.has_matching_endpoint(plan.check) == false) {
        fault.connection = connection_state::no_matching_endpoint;
    } // else it stays with what the status says
}

void server_connection::settle(member& one, const scan_outcome& outcome, time_point started) {
    const std::lock_guard lock{mutex_};
    const bool was_held = status_.fault().has_value();
    const bool had_session = status_.shown().session;
    if (!one.expires) {
        context_.shown.put(outcome.shown, !outcome.fault);
    }
    plan_next(one, started, was_held);
    if (outcome.fault && outcome.fault->connection) {
        status_.failed(*outcome.fault);
        show_others_as_down(one, *outcome.fault);
    } else {
        status_.answered(outcome.created);
        try_again_later(one, outcome.created);
    }
    if (had_session != status_.shown().session) {
        context_.observer.session_changed(status_.shown().name, status_.shown().session);
    }
    show_connection();
}

void server_connection::show_others_as_down(const member& one, const sensor_fault& fault) {
    for (const auto& other : members_) {
        if (other.get() != &one && !other->expires) {
            context_.shown.put(other->sensor.not_reached(fault), false);
        }
    }
}

/// A sensor that cannot be made although the server is there, of a wrong NodeID perhaps.
void server_connection::try_again_later(member& one, bool created) const {
    if (created) {
        one.creation.succeed();
    } else if (one.next != never) {
        one.next = context_.time.now() + one.creation.fail();
    }
}

/// Keeps to the interval, whatever a scan took; a scan that could not begin in time is left out.
void server_connection::plan_next(member& one, time_point started, bool was_held) {
    if (one.next == never) {
        return;
    }
    const sensor_plan& plan = one.sensor.plan();
    if (one.has_interval && !was_held && started >= one.next + plan.interval) {
        context_.observer.missed_interval(plan);
    }
    one.has_interval = true;
    one.next = next_slot(one.anchor, plan.interval, context_.time.now());
}

/// A connection that only requests use is theirs to tell about.
void server_connection::show_connection() {
    const auto count =
        std::ranges::count_if(members_, [](const auto& one) { return !one->expires; });
    if (count == 0) {
        context_.shown.remove_connection(status_.shown().name);
        return;
    }
    connection_snapshot shown = status_.shown();
    shown.sensors = static_cast<std::size_t>(count);
    context_.shown.put(shown);
}

} // namespace tarvik::monitoring_modules::probe
