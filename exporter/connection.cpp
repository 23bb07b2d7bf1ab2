#include "exporter/connection.hpp"

#include "exporter/connection_member.hpp"
#include "exporter/own_metrics.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::minutes kept_after_request{5};
constexpr std::chrono::milliseconds no_haste = std::chrono::hours{1}; // has the longest waits

} // namespace

server_connection::server_connection(const scan_context& context, std::string name)
    : context_{context},
      status_{.name = std::move(name), .since = context.time.wall()},
      journal_{status_.name},
      back_off_{status_.name} {}

server_connection::~server_connection() = default;

void server_connection::add(sensor_plan plan, std::int32_t id) {
    const std::lock_guard lock{mutex_};
    members_.push_back(std::make_unique<member>(context_, id, std::move(plan)));
    next_attempt_ = time_point::min(); // it may have what the others lack, such as a new password
    context_.shown.put(members_.back()->sensor.shown(), false);
    show_connection();
}

void server_connection::judge_by(std::int32_t id, const channel_rules& rules) {
    const std::lock_guard lock{mutex_};
    for (const auto& one : members_) {
        if (one->sensor.id() == id) {
            one->other_rules = rules;
            one->next = context_.time.now();
        }
    }
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
        next_attempt_ = context_.time.now() + back_off_.fail(no_haste);
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
    std::optional<channel_rules> rules;
    {
        const std::lock_guard lock{mutex_};
        requests = std::exchange(one.requests, {});
        rules = std::exchange(one.other_rules, std::nullopt);
    }
    if (rules) {
        one.sensor.use(*rules);
    }
    const bool keep_log = std::ranges::any_of(requests, &member::waiting_request::keep_log);
    scan_outcome outcome = one.sensor.scan(keep_log);
    outcome.notes.retries += status_.fault ? 1 : 0; // an attempt after the connection had failed
    if (outcome.fault && outcome.fault->connection) {
        resolve(one.sensor.plan(), *outcome.fault);
    }
    context_.own.scanned(one.sensor.plan(), outcome);
    const std::vector<journal_line> lines = settle(one, outcome, started);
    for (auto& waiting : requests) {
        waiting.held.reset(); // before its next request
        waiting.answer.set_value(outcome);
    }
    for (const auto& [severity, text] : lines) {
        if (context_.tell) {
            context_.tell(severity, text);
        }
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

std::vector<journal_line>
server_connection::settle(member& one, const scan_outcome& outcome, time_point started) {
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
            one.next = context_.time.now() + one.creation.fail(one.sensor.plan().interval);
        }
    }
    if (had_session != status_.session) {
        context_.own.session_changed(status_.name, status_.session);
    }
    journal_.note(
        {one.sensor.plan().name, one.faults},
        outcome.fault,
        [this] { return names(); },
        context_.time.now()
    );
    if (!was_well || !is_well()) { // else nothing of it has changed
        show_connection();
    }
    return journal_.take();
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
        // Servers lock users whose password is wrong again and again.
        const bool haste = state != connection_state::bad_credentials;
        const auto wait = back_off_.fail(haste ? shortest_interval() : no_haste);
        next_attempt_ = context_.time.now() + wait;
        status_.next_attempt = context_.time.wall() + wait;
    } else {
        back_off_.succeed();
        next_attempt_ = time_point::min();
        status_.next_attempt.reset();
    }
}

/// @return of the sensors that are scanned in their intervals
std::chrono::milliseconds server_connection::shortest_interval() const {
    std::chrono::milliseconds shortest = no_haste;
    for (const auto& one : members_) {
        shortest = one->expires ? shortest : std::min(shortest, one->sensor.plan().interval);
    }
    return shortest;
}

/// @return of sensors that are scanned in their intervals
std::vector<std::string> server_connection::names() const {
    std::vector<std::string> names;
    for (const auto& one : members_) {
        if (!one->expires) {
            names.push_back(one->sensor.plan().name);
        }
    }
    return names;
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
