#pragma once
// What the journal says about faults: who, what and what to do when one begins, and how long it
// lasted when it ends; not at each attempt in between. A connection that fails is one line, however
// many sensors it has.

#include "exporter/snapshot.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct journal_line {
    std::int32_t severity; ///< as of syslog: 3 error, 4 warning, 5 notice
    std::string text;      ///< not yet sanitised
};

/// Whether there is something to say about a connection or a sensor, after each attempt. One that
/// comes and goes is told as such, and then not until it has been one way for ten minutes.
class fault_record final {
  public:
    using time_point = std::chrono::steady_clock::time_point;
    using duration = std::chrono::steady_clock::duration;

    static constexpr std::chrono::minutes calm{10};
    static constexpr unsigned most_returns = 3;    // each within that time
    static constexpr std::size_t most_reasons = 8; // told in one fault

    enum class news {
        none,
        begins,   ///< or has another reason than any that was told of this fault
        unsteady, ///< it comes and goes
        ends,
        steady ///< after it came and went
    };

    [[nodiscard]] news failed(const std::string& reason, time_point now);
    [[nodiscard]] news works(time_point now);

    /// @return how long the fault lasted that ended last
    [[nodiscard]] duration lasted() const noexcept { return lasted_; }

  private:
    std::optional<time_point> since_; // of a fault; nothing: there is none
    std::optional<time_point> ended_; // the one before
    duration lasted_{};
    unsigned returns_ = 0;
    bool end_untold_ = false;
    std::set<std::string> told_; // reasons of this fault
};

/// Of one connection; is called with its mutex held.
class fault_journal final {
  public:
    using time_point = fault_record::time_point;

    /// @param server as it is shown
    explicit fault_journal(std::string server) : server_{std::move(server)} {}

    struct subject {
        const std::string& sensor; ///< its name
        fault_record& faults;      ///< its own, while the server is reached
    };
    using name_list = std::function<std::vector<std::string>()>;

    /// To be called after each scan.
    /// @param fault nothing: the scan gave values
    /// @param sensors () => names of those that use the connection
    void note(
        const subject& scanned,
        const std::optional<sensor_fault>& fault,
        const name_list& sensors,
        time_point now
    );

    /// @return what is to be written, once
    [[nodiscard]] std::vector<journal_line> take() { return std::exchange(lines_, {}); }

  private:
    void connection_failed(const sensor_fault& fault, const name_list& sensors, time_point now);
    void connection_works(const name_list& sensors, time_point now);
    void sensor_failed(const subject& scanned, const sensor_fault& fault, time_point now);
    void sensor_works(const subject& scanned, time_point now);

    const std::string server_;
    fault_record connection_;
    std::vector<journal_line> lines_;
};

} // namespace tarvik::monitoring_modules::probe
