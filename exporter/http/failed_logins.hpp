#pragma once
// Slows down who tries passwords: after some wrong ones an address has to wait, longer each time.

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// Thread-safe. Times are given by the caller.
class failed_logins final {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    /// So many wrong passwords cost nothing: people mistype.
    static constexpr unsigned free_attempts = 5;
    static constexpr std::chrono::seconds longest_wait{30};
    /// Without a wrong password for so long, all is forgotten.
    static constexpr std::chrono::minutes memory{10};
    static constexpr std::size_t most_addresses = 10'000;

    /// @return how long the address has to wait until a password of it is looked at; 0: not at all
    [[nodiscard]] std::chrono::seconds wait(const std::string& address, time_point now) const;

    /// An address gave a wrong password.
    void add(const std::string& address, time_point now);

  private:
    struct entry {
        unsigned count = 0;
        time_point last;
        time_point until; ///< before that, nothing is looked at
    };

    mutable std::mutex mutex_;
    std::map<std::string, entry> entries_; // guarded by mutex_
};

} // namespace tarvik::monitoring_modules::probe
