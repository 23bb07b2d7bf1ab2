#include "exporter/connection_status.hpp"

#include <algorithm>
#include <functional>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::chrono::duration<double> shortest{1};
constexpr std::chrono::duration<double> longest{60};
constexpr unsigned most_doublings = 6; // 2^6 s are more than the longest wait

} // namespace

connection_status::connection_status(std::string name, const time_source& time)
    : time_{time},
      back_off_{static_cast<std::uint32_t>(std::hash<std::string>{}(name))} {
    shown_.name = std::move(name);
    shown_.since = time_.wall();
}

void connection_status::become(connection_state state) {
    if (shown_.state != state) {
        shown_.since = time_.wall();
    }
    shown_.state = state;
}

void connection_status::failed(const sensor_fault& fault) {
    become(fault.connection.value_or(connection_state::error));
    shown_.identity = fault.identity;
    shown_.text = fault.text;
    shown_.session = false;
    const auto wait = back_off_.fail();
    next_attempt_ = time_.now() + wait;
    shown_.next_attempt = time_.wall() + wait;
    fault_ = fault;
}

void connection_status::answered(bool session) {
    become(connection_state::ready);
    shown_.session = session || shown_.session;
    forget_fault();
}

void connection_status::leave() {
    become(connection_state::connecting);
    shown_.session = false;
    forget_fault();
}

void connection_status::forget_fault() {
    back_off_.succeed();
    shown_.next_attempt.reset();
    shown_.identity.clear();
    shown_.text.clear();
    next_attempt_ = time_point::min();
    fault_.reset();
}

std::chrono::milliseconds back_off::fail() {
    const auto doubled = static_cast<double>(1U << std::min(failures_, most_doublings));
    ++failures_;
    std::uniform_real_distribution<double> jitter{0.75, 1.25};
    const auto wait =
        std::clamp(std::min(shortest * doubled, longest) * jitter(random_), shortest, longest);
    return std::chrono::duration_cast<std::chrono::milliseconds>(wait);
}

} // namespace tarvik::monitoring_modules::probe
