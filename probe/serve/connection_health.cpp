#include "probe/serve/connection_health.hpp"

#include <functional>

namespace tarvik::monitoring_modules::probe {

connection_health::connection_health(std::string name)
    : back_off_{static_cast<std::uint32_t>(std::hash<std::string>{}(name))} {
    shown_.name = std::move(name);
    shown_.since = std::chrono::system_clock::now();
}

void connection_health::become(connection_state state) {
    if (shown_.state != state) {
        shown_.since = std::chrono::system_clock::now();
    }
    shown_.state = state;
}

void connection_health::failed(const sensor_fault& fault) {
    become(fault.connection.value_or(connection_state::error));
    shown_.identity = fault.identity;
    shown_.text = fault.text;
    shown_.session = false;
    const auto wait = back_off_.fail();
    next_attempt_ = std::chrono::steady_clock::now() + wait;
    shown_.next_attempt = std::chrono::system_clock::now() + wait;
    fault_ = fault;
}

void connection_health::answered(bool session) {
    become(connection_state::ready);
    shown_.session = session || shown_.session;
    forget_fault();
}

void connection_health::leave() {
    become(connection_state::connecting);
    shown_.session = false;
    forget_fault();
}

void connection_health::forget_fault() {
    back_off_.succeed();
    shown_.next_attempt.reset();
    shown_.identity.clear();
    shown_.text.clear();
    next_attempt_ = time_point::min();
    fault_.reset();
}

} // namespace tarvik::monitoring_modules::probe
