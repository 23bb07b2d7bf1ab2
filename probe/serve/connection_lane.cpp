#include "probe/serve/connection_lane.hpp"

#include "host/message.hpp"
#include "host/probe_error.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::minutes kept_after_request{5};

[[nodiscard]] std::uint32_t seed_of(const std::string& name) {
    return static_cast<std::uint32_t>(std::hash<std::string>{}(name));
}

/// The endpoint check's answer; nothing when it could not be had.
[[nodiscard]] std::optional<bool>
has_matching_endpoint(const monitoring_module& module, std::int32_t id, const std::string& record) {
    for (const std::string& message : module.check(id, record).messages) {
        const any_message parsed = parse_message(message);
        if (const auto* result = std::get_if<check_result>(&parsed)) {
            return result->success;
        }
    }
    return std::nullopt;
}

/// @return the first time after now that is some whole intervals after the anchor
/// @pre the anchor is not after now
[[nodiscard]] timed_task::time_point next_slot(
    timed_task::time_point anchor, std::chrono::milliseconds interval, timed_task::time_point now
) {
    return anchor + ((now - anchor) / interval + 1) * interval;
}

} // namespace

connection_lane::connection_lane(const lane_context& context, std::string name)
    : context_{context},
      health_{std::move(name)} {}

std::unique_ptr<connection_lane::member>
connection_lane::make_member(sensor_plan plan, std::int32_t id) const {
    const std::uint32_t seed = seed_of(plan.name);
    const time_point now = clock::now();
    // The first scan comes at once, later ones spread over the interval.
    const time_point anchor = now - plan.interval * (seed % 1000) / 1000;
    return std::make_unique<member>(context_, id, std::move(plan), back_off{seed}, anchor, now);
}

void connection_lane::add(sensor_plan plan, std::int32_t id) {
    const std::lock_guard lock{mutex_};
    members_.push_back(make_member(std::move(plan), id));
    context_.shown.put(members_.back()->sensor.shown(), false);
    show_connection();
}

void connection_lane::remove(std::int32_t id) {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        one->leaving = one->leaving || one->sensor.id() == id;
    }
}

void connection_lane::remove_all() {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        one->leaving = true;
    }
}

std::future<scan_outcome> connection_lane::request(
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
    one->expires = clock::now() + kept_after_request;
    request_waiting& waiting = one->requests.emplace_back();
    waiting.keep_log = keep_log;
    waiting.held = std::move(held);
    return waiting.answer.get_future();
}

bool connection_lane::empty() const {
    const std::lock_guard lock{mutex_};
    return members_.empty();
}

timed_task::time_point connection_lane::due_of(const member& one) const {
    if (one.leaving || !one.requests.empty()) {
        return time_point::min();
    }
    return one.expires ? *one.expires : std::max(one.next, health_.next_attempt());
}

timed_task::time_point connection_lane::due() const {
    const std::lock_guard lock{mutex_};
    time_point first = never;
    for (const auto& one : members_) {
        first = std::min(first, due_of(*one));
    }
    return first;
}

void connection_lane::run() noexcept {
    const time_point now = clock::now();
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
        health_.pause();
    }
}

std::unique_ptr<connection_lane::member> connection_lane::take_leaving(time_point now) {
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
connection_lane::member* connection_lane::choose(time_point now) {
    member* first = nullptr;
    for (const auto& one : members_) {
        if (due_of(*one) <= now && (first == nullptr || due_of(*one) < due_of(*first))) {
            first = one.get();
        }
    }
    return first;
}

/// Destroys the sensor, which may take the time of a good-bye to the server.
void connection_lane::dismiss(std::unique_ptr<member> gone) {
    const std::int32_t id = gone->sensor.id();
    const bool on_board = !gone->expires;
    gone.reset();
    const std::lock_guard lock{mutex_};
    if (on_board) {
        context_.shown.remove_sensor(id);
    }
    if (members_.empty()) {
        context_.observer.connection_gone(health_.shown().name);
        health_.leave();
    }
    show_connection();
}

void connection_lane::scan(member& one) {
    const time_point started = clock::now();
    std::vector<request_waiting> requests;
    bool retry = false;
    {
        const std::lock_guard lock{mutex_};
        requests = std::exchange(one.requests, {});
        retry = health_.fault().has_value();
    }
    if (retry) {
        context_.observer.retried(health_.shown().name);
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
void connection_lane::resolve(const sensor_plan& plan, sensor_fault& fault) const {
    if (!is_ambiguous(fault.identity)) {
        return;
    }
    if (health_.fault() && health_.fault()->identity == fault.identity) { // known already
        fault.connection = health_.fault()->connection;
        return;
    }
    constexpr std::int32_t check_id = 0; // checks have numbers of their own
    try {
        if (has_matching_endpoint(context_.module, check_id, plan.check) == false) {
            fault.connection = connection_state::no_matching_endpoint;
        }
    } catch (const probe_error&) { // then it stays with what the status says
    }
}

void connection_lane::settle(member& one, const scan_outcome& outcome, time_point started) {
    const std::lock_guard lock{mutex_};
    const bool was_held = health_.fault().has_value();
    const bool had_session = health_.shown().session;
    if (!one.expires) {
        context_.shown.put(outcome.shown, !outcome.fault);
    }
    plan_next(one, started, was_held);
    if (outcome.fault && outcome.fault->connection) {
        health_.failed(*outcome.fault);
        show_others_like(one, *outcome.fault);
    } else {
        health_.answered(outcome.created);
        try_again_later(one, outcome.created);
    }
    if (had_session != health_.shown().session) {
        context_.observer.session_changed(health_.shown().name, health_.shown().session);
    }
    show_connection();
}

void connection_lane::show_others_like(const member& one, const sensor_fault& fault) {
    for (const auto& other : members_) {
        if (other.get() != &one && !other->expires) {
            context_.shown.put(other->sensor.not_reached(fault), false);
        }
    }
}

/// A sensor that cannot be made although the server is there, of a wrong NodeID perhaps.
void connection_lane::try_again_later(member& one, bool created) {
    if (created) {
        one.creation.succeed();
    } else if (one.next != never) {
        one.next = clock::now() + one.creation.fail();
    }
}

/// Keeps to the interval, whatever a scan took; a scan that could not begin in time is left out.
void connection_lane::plan_next(member& one, time_point started, bool was_held) {
    if (one.next == never) {
        return;
    }
    const sensor_plan& plan = one.sensor.plan();
    if (one.has_interval && !was_held && started >= one.next + plan.interval) {
        context_.observer.missed_interval(plan);
    }
    one.has_interval = true;
    one.next = next_slot(one.anchor, plan.interval, clock::now());
}

/// A connection that only requests use is theirs to tell about.
void connection_lane::show_connection() {
    const auto count =
        std::ranges::count_if(members_, [](const auto& one) { return !one->expires; });
    if (count == 0) {
        context_.shown.remove_connection(health_.shown().name);
        return;
    }
    shown_connection shown = health_.shown();
    shown.sensors = static_cast<std::size_t>(count);
    context_.shown.put(shown);
}

} // namespace tarvik::monitoring_modules::probe
