#include "probe/plugin/value_age.hpp"

#include "host/value_format.hpp"
#include "text/number.hpp"

#include <algorithm>
#include <cmath>

namespace tarvik::monitoring_modules::probe {

namespace {

using seconds = std::chrono::duration<double>;

/// @return "12 min", "0.5 s"
[[nodiscard]] std::string time_text(double time) {
    constexpr double coarse = 10; // beyond it, parts of a second tell nothing
    const channel_unit unit{static_cast<std::int64_t>(unit_code::time_span), "", ""};
    const channel_number shown = time < coarse ? channel_number{std::round(time * 10) / 10}
                                               : channel_number{std::llround(time)};
    const formatted_value value = format_value(shown, unit, 1);
    return value.number + (value.unit.empty() ? "" : " ") + value.unit;
}

} // namespace

void value_ages::take(const module_event& event) {
    if (event.kind != ZUNO_EVENT_OLDEST_VALUE) {
        return;
    }
    const std::string_view text = event.text;
    const std::size_t blank = std::min(text.find(' '), text.size());
    oldest_.push_back(
        {parse_number<std::int64_t>(text.substr(0, blank)),
         std::string{text.substr(std::min(blank + 1, text.size()))}}
    );
}

std::optional<plugin_finding> value_ages::judge(const age_demand& demand, wall_time now) const {
    if (oldest_.empty()) {
        return plugin_finding{plugin_state::unknown, "the age of the values is not known"};
    }
    std::optional<plugin_finding> found;
    double oldest = demand.most.count();
    for (const auto& [milliseconds, node_id] : oldest_) {
        if (!milliseconds) {
            return plugin_finding{
                plugin_state::unknown,
                "the server does not tell how old the value of " + node_id + " is"};
        }
        const double now_seconds = seconds{now.time_since_epoch()}.count();
        const double age = now_seconds - static_cast<double>(*milliseconds) / 1000;
        if (-age > demand.most.count()) {
            return plugin_finding{
                plugin_state::unknown,
                "the time of the value of " + node_id + " is " + time_text(-age) +
                    " ahead of this machine's clock"};
        }
        if (age > oldest) {
            oldest = age;
            found = {
                demand.too_old,
                "the value of " + node_id + " is " + time_text(age) + " old, more than " +
                    time_text(demand.most.count())};
        }
    }
    return found;
}

} // namespace tarvik::monitoring_modules::probe
