#pragma once
// Channels as values: what is kept from scan to scan, because channels are defined once and growth
// needs the value before, and each channel of a scan judged and ready to be shown.

#include "host/channel_rules.hpp"
#include "host/channel_view.hpp"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class channel_memory final {
  public:
    /// @param document must outlive this object
    /// @param rules go before what the module says is good
    explicit channel_memory(const module_document& document, channel_rules rules = {})
        : document_{document},
          rules_{std::move(rules)} {}

    /// The next result is judged by these.
    void use(channel_rules rules) { rules_ = std::move(rules); }

    /// Takes a result in: its definitions are kept, its values are the ones before for the next
    /// result.
    /// @param when the result came; not before the time of the last one
    /// @return its channels in the order of the result
    [[nodiscard]] std::vector<channel_view>
    take(const scan_result& result, std::chrono::steady_clock::time_point when);

    /// @return which rules the last result's channels cannot follow, and why
    [[nodiscard]] const std::vector<std::string>& problems() const noexcept { return problems_; }

    /// @return what is known of the channels, by their ids
    [[nodiscard]] const std::map<std::int64_t, channel_definition>& definitions() const noexcept {
        return definitions_;
    }

  private:
    struct sample {
        channel_number value;
        std::chrono::steady_clock::time_point when;
    };

    [[nodiscard]] std::optional<double>
    growth(const channel_value& channel, std::chrono::steady_clock::time_point when) const;
    [[nodiscard]] channel_view
    view(const channel_value& channel, std::chrono::steady_clock::time_point when) const;
    void judge(std::vector<channel_view>& channels);

    const module_document& document_;
    channel_rules rules_;
    std::vector<std::string> problems_;
    std::map<std::int64_t, channel_definition> definitions_;
    std::map<std::int64_t, sample> last_; // of the channels whose growth is shown
};

} // namespace tarvik::monitoring_modules::probe
