#include "host/channel_verdict.hpp"

#include "text/number.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr const char* module_limit = "the module's limit";
constexpr const char* module_lookup = "the module's lookup";

[[nodiscard]] std::string with_unit(const formatted_value& value) {
    return value.number + (value.unit.empty() ? "" : " ") + value.unit;
}

[[nodiscard]] std::string limit_text(const channel_definition& definition, double limit) {
    if (definition.difference) {
        return with_unit(format_growth(limit, definition.unit));
    }
    constexpr double exact_integers = 9'007'199'254'740'992.0;
    const bool whole = limit == std::trunc(limit) && std::abs(limit) < exact_integers;
    const channel_number number = whole ? channel_number{static_cast<std::int64_t>(limit)} : limit;
    return with_unit(format_value(number, definition.unit, 1));
}

/// @return "between 10 °C and 20 °C", "at most 20 °C"
[[nodiscard]] std::string
inside_text(const channel_definition& definition, const value_range& range) {
    if (std::isinf(range.start)) {
        return std::isinf(range.end) ? "any value" : "at most " + limit_text(definition, range.end);
    }
    const std::string start = limit_text(definition, range.start);
    return std::isinf(range.end) ? "at least " + start
                                 : "between " + start + " and " + limit_text(definition, range.end);
}

[[nodiscard]] std::optional<value_range>
range_of_limits(const std::optional<double>& lower, const std::optional<double>& upper) {
    return lower || upper ? std::optional{value_range{
                                lower.value_or(-INFINITY), upper.value_or(INFINITY), false}}
                          : std::nullopt;
}

/// @return whether a rule names this number
[[nodiscard]] bool is_number(const std::string& text, const channel_view& channel, double shown) {
    const auto* const integer = std::get_if<std::int64_t>(&channel.raw);
    const auto whole = parse_number<std::int64_t>(text);
    if (integer != nullptr && whole && !channel.difference &&
        channel.scaled == static_cast<double>(*integer)) {
        return *integer == *whole; // doubles lose the last digits of large numbers
    }
    const auto number = parse_number<double>(text);
    return (number && *number == shown) || (text == "NaN" && std::isnan(shown));
}

/// What judging one channel takes.
class channel_judge final {
  public:
    channel_judge(
        const channel_view& channel,
        const channel_definition& definition,
        const std::optional<lookup_value>& looked_up,
        const channel_demands& demands
    )
        : channel_{channel},
          definition_{definition},
          looked_up_{demands.lookup ? looked_up : std::nullopt},
          demands_{demands},
          value_{channel.difference ? channel.growth.value_or(NAN) : channel.scaled} {
        const channel_limits none{};
        const channel_limits& limits = definition.limits.enabled ? definition.limits : none;
        verdict_.warning = demands.warning
                               ? demands.warning
                               : range_of_limits(limits.lower_warning, limits.upper_warning);
        verdict_.critical = demands.critical
                                ? demands.critical
                                : range_of_limits(limits.lower_error, limits.upper_error);
    }

    [[nodiscard]] channel_verdict verdict() && {
        if (channel_.difference && !channel_.growth && has_demands()) {
            const bool is_finite = std::isfinite(channel_.scaled);
            return is_finite
                       ? decided(
                             {}, verdict_cause::no_growth, "has no growth: its counter began anew"
                         )
                       : no_number();
        }
        if (const auto state = stated()) {
            const std::string text = *state == channel_state::ok ? "" : "is " + shown_text();
            verdict_.origin = demands_.states_origin;
            return decided(*state, verdict_cause::stated, text);
        }
        if (has_ranges() && std::isnan(value_)) {
            return no_number();
        }
        if (is_broken(verdict_.critical, demands_.critical.has_value(), channel_state::error) ||
            is_broken(verdict_.warning, demands_.warning.has_value(), channel_state::warning)) {
            return std::move(verdict_);
        }
        const bool looked_good = looked_up_ && looked_up_->state != channel_state::none;
        verdict_.state = has_ranges() || looked_good ? channel_state::ok : channel_state::none;
        return std::move(verdict_);
    }

  private:
    [[nodiscard]] bool has_ranges() const { return verdict_.warning || verdict_.critical; }
    [[nodiscard]] bool has_demands() const { return has_ranges() || !demands_.states.empty(); }

    [[nodiscard]] std::string shown_text() const {
        return channel_.lookup_text ? *channel_.lookup_text : with_unit(channel_.value);
    }

    /// @return the state that the value's text or number was given
    [[nodiscard]] std::optional<channel_state> stated() const {
        const auto found = std::ranges::find_if(demands_.states, [this](const stated_text& each) {
            return is_number(each.text, channel_, value_);
        });
        return found != demands_.states.end()
                   ? std::optional{found->state}
                   : find_state(demands_.states, channel_.lookup_text.value_or(""));
    }

    [[nodiscard]] channel_verdict
    decided(channel_state state, verdict_cause cause, std::string text) {
        verdict_.state = state;
        verdict_.cause = state == channel_state::ok ? verdict_cause::nothing : cause;
        verdict_.text = std::move(text);
        return std::move(verdict_);
    }

    [[nodiscard]] channel_verdict no_number() {
        return decided(channel_state::warning, verdict_cause::no_number, "is no number");
    }

    /// Looks at one level.
    /// @param range that holds for it
    /// @param given whether the range is a rule's
    /// @return whether the value is not good, and then why is in the verdict
    [[nodiscard]] bool
    is_broken(const std::optional<value_range>& range, bool given, channel_state level) {
        if (looked_up_ && looked_up_->state == level && !given) {
            verdict_.origin = module_lookup;
            verdict_.by_module = true;
            verdict_.state = level;
            verdict_.cause = verdict_cause::lookup;
            verdict_.text = "is " + looked_up_->text;
            return true;
        }
        const range_side side = range ? range->side(value_) : range_side::good;
        if (side == range_side::good) {
            return false;
        }
        constexpr std::array causes{
            verdict_cause::nothing,
            verdict_cause::below,
            verdict_cause::above,
            verdict_cause::inside};
        verdict_.state = level;
        verdict_.cause = causes.at(static_cast<std::size_t>(side));
        verdict_.by_module = !given;
        verdict_.origin = given ? "" : module_limit;
        verdict_.text =
            side == range_side::below   ? "is below " + limit_text(definition_, range->start)
            : side == range_side::above ? "is above " + limit_text(definition_, range->end)
                                        : "is " + inside_text(definition_, *range);
        return true;
    }

    const channel_view& channel_;
    const channel_definition& definition_;
    const std::optional<lookup_value> looked_up_; // that counts
    const channel_demands& demands_;
    const double value_; // that is judged
    channel_verdict verdict_;
};

} // namespace

std::string_view name_of(verdict_cause cause) noexcept {
    constexpr auto names = std::to_array<std::string_view>(
        {"nothing", "below", "above", "inside", "lookup", "stated", "no_number", "no_growth"}
    );
    return names.at(static_cast<std::size_t>(cause));
}

channel_verdict judge_channel(
    const channel_view& channel,
    const channel_definition& definition,
    const std::optional<lookup_value>& looked_up,
    const channel_demands& demands
) {
    return channel_judge{channel, definition, looked_up, demands}.verdict();
}

std::string reason_of(const channel_view& channel) {
    const channel_verdict& verdict = channel.verdict;
    if (verdict.text.empty()) {
        return "";
    }
    const std::string value = with_unit(channel.value);
    if (verdict.cause == verdict_cause::lookup || verdict.cause == verdict_cause::stated) {
        const char* const state = verdict.state == channel_state::error ? "an error" : "a warning";
        return value + " is " + state + " by " + verdict.origin;
    }
    return value + " " + verdict.text + (verdict.origin.empty() ? "" : ", " + verdict.origin);
}

} // namespace tarvik::monitoring_modules::probe
