#include "exporter/connection.hpp"

#include "exporter/own_metrics.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::minutes kept_after_request{5};
constexpr std::chrono::duration<double> shortest_wait{1};
constexpr std::chrono::duration<double> longest_wait{60};
constexpr unsigned most_doublings = 6; // 2^6 s are more than the longest wait

[[nodiscard]] std::uint32_t seed_of(const std::string& name) {
    return static_cast<std::uint32_t>(std::hash<std::string>{}(name));
}

/// Sensors are spread over their interval, in a hundred steps that are the same for all
/// connections: those of one step are scanned in one go, which costs less than to wake up for each
/// of them.
[[nodiscard]] time_source::time_point anchor_of(const sensor_plan& plan) {
    constexpr unsigned steps = 100;
    return time_source::time_point{} - plan.interval * (seed_of(plan.name) % steps) / steps;
}

} // namespace

back_off::back_off(const std::string& name) : random_{seed_of(name)} {}

std::chrono::milliseconds back_off::fail() {
    const auto doubled =
        shortest_wait * static_cast<double>(1U << std::min(failures_, most_doublings));
    ++failures_;
    std::uniform_real_distribution<double> jitter{0.75, 1.25};
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        std::clamp(std::min(doubled, longest_wait) * jitter(random_), shortest_wait, longest_wait)
    );
}

struct server_connection::member {
    member(const scan_context& context, std::int32_t id, sensor_plan plan)
        : sensor{context, id, std::move(plan)},
          creation{sensor.plan().name},
          next{context.time.now()},
          anchor{anchor_of(sensor.plan())} {}

    struct waiting_request {
        std::promise<scan_outcome> answer;
        bool keep_log;
        std::shared_ptr<void> held;
    };

    scanned_sensor sensor;     // touched by the thread in run() only
    back_off creation;         // of a sensor that cannot be made although the server is there
    time_point next;           // scan in its interval, the first one at once
    time_point anchor;         // later scans come whole intervals after it
    bool has_interval = false; // since its first scan
    std::optional<time_point> expires; // of those that are scanned on request only
    bool leaving = false;
    std::vector<waiting_request> requests;
};

server_connection::server_connection(const scan_context& context, std::string name)
    : context_{context},
      status_{.name = std::move(name), .since = context.time.wall()},
      back_off_{status_.name} {}

server_connection::~server_connection() = default;

void server_connection::add(sensor_plan plan, std::int32_t id) {
    const std::lock_guard lock{mutex_};
    members_.push_back(std::make_unique<member>(context_, id, std::move(plan)));
    context_.shown.put(members_.back()->sensor.shown(), false);
    show_connection();
}

void server_connection::remove(const std::optional<std::int32_t>& id) {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        one->leaving = one->leaving || !id || one->sensor.id() == id;
    }
}

std::future<scan_outcome> server_connection::request(
    const sensor_plan& plan, std::int32_t id, bool keep_log, std::shared_ptr<void> held
) {
    const std::lock_guard lock{mutex_};
    auto found = std::ranges::find_if(members_, [&plan](const auto& one) {
        return one->expires && !one->leaving && one->sensor.plan() == plan;
    });
    if (found == members_.end()) {
        found = members_.insert(found, std::make_unique<member>(context_, id, plan));
    }
    member& one = **found;
    one.expires = context_.time.now() + kept_after_request;
    one.requests.push_back({{}, keep_log, std::move(held)});
    return one.requests.back().answer.get_future();
}

bool server_connection::empty() const {
    const std::lock_guard lock{mutex_};
    return members_.empty();
}

timed_task::time_point server_connection::due_of(const member& one) const {
    if (one.leaving || !one.requests.empty()) {
        return time_point::min();
    }
    return one.expires ? *one.expires : std::max(one.next, next_attempt_);
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
        next_attempt_ = context_.time.now() + back_off_.fail();
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

/// @return the sensor that has waited longest; null when none is due
server_connection::member* server_connection::choose(time_point now) {
    const auto first =
        std::ranges::min_element(members_, {}, [this](const auto& one) { return due_of(*one); });
    return first == members_.end() || due_of(**first) > now ? nullptr : first->get();
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
        context_.own.connection_gone(status_.name);
        become(connection_state::connecting, std::nullopt);
        status_.session = false;
    }
    show_connection();
}

void server_connection::scan(member& one) {
    const time_point started = context_.time.now();
    std::vector<member::waiting_request> requests;
    {
        const std::lock_guard lock{mutex_};
        requests = std::exchange(one.requests, {});
    }
    const bool keep_log = std::ranges::any_of(requests, &member::waiting_request::keep_log);
    scan_outcome outcome = one.sensor.scan(keep_log);
    outcome.notes.retries += status_.fault ? 1 : 0; // an attempt after the connection had failed
    if (outcome.fault && outcome.fault->connection) {
        resolve(one.sensor.plan(), *outcome.fault);
    }
    context_.own.scanned(one.sensor.plan(), outcome);
    settle(one, outcome, started);
    for (auto& waiting : requests) {
        waiting.held.reset(); // before its next request
        waiting.answer.set_value(outcome);
    }
}

/// Finds out what a server means that rejects an identity.
void server_connection::resolve(const sensor_plan& plan, sensor_fault& fault) const {
    if (!is_ambiguous(fault.identity)) {
        return;
    }
    if (status_.fault && status_.fault->identity == fault.identity) { // known already
        fault.connection = status_.state;
        return;
    }
    if (context_.module.has_matching_endpoint(plan.check) == false) {
        fault.connection = connection_state::no_matching_endpoint;
    } // else it stays with what the status says
}

void server_connection::settle(member& one, const scan_outcome& outcome, time_point started) {
    const std::lock_guard lock{mutex_};
    const bool was_well = is_well();
    const bool had_session = status_.session;
    if (!one.expires) {
        context_.shown.put(outcome.shown, !outcome.fault);
        plan_next(one, started);
    }
    if (outcome.fault && outcome.fault->connection) {
        become(*outcome.fault->connection, outcome.fault);
        status_.session = false;
        for (const auto& other : members_) {
            if (other.get() != &one && !other->expires) {
                context_.shown.put(other->sensor.not_reached(*outcome.fault), false);
            }
        }
    } else {
        become(connection_state::ready, std::nullopt);
        status_.session = status_.session || outcome.created;
        if (outcome.created) {
            one.creation.succeed();
        } else { // because of a wrong NodeID perhaps
            one.next = context_.time.now() + one.creation.fail();
        }
    }
    if (had_session != status_.session) {
        context_.own.session_changed(status_.name, status_.session);
    }
    if (!was_well || !is_well()) { // else nothing of it has changed
        show_connection();
    }
}

bool server_connection::is_well() const {
    return status_.session && status_.state == connection_state::ready && !status_.fault;
}

/// Keeps to the interval, whatever a scan took; a scan that could not begin in time is left out.
void server_connection::plan_next(member& one, time_point started) {
    const auto interval = one.sensor.plan().interval;
    if (one.has_interval && !status_.fault && started >= one.next + interval) {
        context_.own.missed_interval();
    }
    one.has_interval = true;
    one.next = one.anchor + ((context_.time.now() - one.anchor) / interval + 1) * interval;
}

/// @param fault why it is down; nothing: it is not, as far as is known
void server_connection::become(connection_state state, const std::optional<sensor_fault>& fault) {
    if (status_.state != state) {
        status_.since = context_.time.wall();
    }
    status_.state = state;
    status_.fault = fault;
    if (fault) {
        const auto wait = back_off_.fail();
        next_attempt_ = context_.time.now() + wait;
        status_.next_attempt = context_.time.wall() + wait;
    } else {
        back_off_.succeed();
        next_attempt_ = time_point::min();
        status_.next_attempt.reset();
    }
}

/// A connection that only requests use is theirs to tell about.
void server_connection::show_connection() {
    connection_snapshot shown = status_;
    shown.sensors = static_cast<std::size_t>(std::ranges::count_if(members_, [](const auto& one) {
        return !one->expires;
    }));
    if (shown.sensors == 0) {
        context_.shown.remove_connection(shown.name);
    } else {
        context_.shown.put(shown);
    }
}

} // namespace tarvik::monitoring_modules::probe
