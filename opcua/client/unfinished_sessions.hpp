#pragma once

// Remembers where a connect has failed after the server was asked for a session.
//
// Such a session stays on the server until its time-out, usually for 20 minutes, and a server has
// place for few. Until a login works there, the next attempts ask for sessions that end by
// themselves about as soon as the attempt does.

#include "opcua/client/client_settings.hpp"

#include <cstddef>
#include <mutex>
#include <set>
#include <string>

namespace tarvik::monitoring_modules::opcua {

/// By server and user. Shared by all clients of a module, so that a check that is repeated learns
/// from the one before. Any thread.
class unfinished_sessions {
  public:
    /// More servers than that are not remembered; a new one then takes the place of another.
    static constexpr std::size_t most_entries = 10'000;

    [[nodiscard]] bool contains(const client_settings& settings) const;
    void add(const client_settings& settings);
    void remove(const client_settings& settings);

  private:
    mutable std::mutex mutex_;
    std::set<std::string> logins_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::opcua
