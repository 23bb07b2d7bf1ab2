#pragma once
// Channels as values: what is kept from scan to scan, because channels are defined once and growth
// needs the value before, and each channel of a scan ready to be shown.

#include "host/message.hpp"
#include "host/module_document.hpp"
#include "host/value_format.hpp"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// One channel of one scan, ready to be shown. Names, units and lookup texts are as they were sent:
/// not yet sanitised.
struct channel_view {
    std::int64_t id = 0;
    std::string name;
    channel_number raw;
    formatted_value value;    ///< "-" for a growth that is not known
    bool raw_is_shown = true; ///< the value tells the raw number already
    double scaled = 0;        ///< raw × multiplier
    bool difference = false;
    std::optional<double>
        growth; ///< of scaled, per second; nothing in the first scan and after a fall
    std::optional<std::string> lookup_text;
    channel_state state = channel_state::none; ///< the worse one of lookup and limits
};

class channel_memory final {
  public:
    /// @param document must outlive this object
    explicit channel_memory(const module_document& document) : document_{document} {}

    /// Takes a result in: its definitions are kept, its values are the ones before for the next
    /// result.
    /// @param when the result came; not before the time of the last one
    /// @return its channels in the order of the result
    [[nodiscard]] std::vector<channel_view>
    take(const scan_result& result, std::chrono::steady_clock::time_point when);

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

    const module_document& document_;
    std::map<std::int64_t, channel_definition> definitions_;
    std::map<std::int64_t, sample> last_;
};

} // namespace tarvik::monitoring_modules::probe
