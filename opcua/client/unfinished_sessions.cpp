#include "opcua/client/unfinished_sessions.hpp"

namespace tarvik::monitoring_modules::opcua {

namespace {

std::string login_of(const client_settings& settings) {
    return endpoint_url(settings) + '\n' + settings.user;
}

} // namespace

bool unfinished_sessions::contains(const client_settings& settings) const {
    const std::lock_guard lock{mutex_};
    return !logins_.empty() && logins_.contains(login_of(settings));
}

void unfinished_sessions::add(const client_settings& settings) {
    const std::lock_guard lock{mutex_};
    if (logins_.size() >= most_entries) {
        logins_.erase(logins_.begin());
    }
    logins_.insert(login_of(settings));
}

void unfinished_sessions::remove(const client_settings& settings) {
    const std::lock_guard lock{mutex_};
    logins_.erase(login_of(settings));
}

} // namespace tarvik::monitoring_modules::opcua
