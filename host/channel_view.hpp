#pragma once
// One channel of one scan, ready to be shown, and what is thought of its value.

#include "host/message.hpp"
#include "host/module_document.hpp"
#include "host/value_format.hpp"
#include "host/value_range.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// What the state of a value comes from.
enum class verdict_cause {
    nothing, ///< it is good, or nothing says what is good
    below,
    above,
    inside, ///< of a range of bad values
    lookup, ///< of the module
    stated, ///< its text or number was given a state
    no_number,
    no_growth ///< not known, because the counter began or began anew
};

/// @return "no_number"
[[nodiscard]] std::string_view name_of(verdict_cause cause) noexcept;

struct channel_verdict {
    channel_state state = channel_state::none; ///< warning also when the value is no number
    verdict_cause cause = verdict_cause::nothing;
    bool by_module = false; ///< a lookup or limit of the module decided, not a rule
    std::string text{};     ///< "is above 90 °C", "is Failed"; empty when nothing is wrong
    std::string origin{};   ///< who said so: "the module's limit", "--state"; may be empty
    // What the value was compared with: of the rules, else of the module's limits.
    std::optional<value_range> warning{};
    std::optional<value_range> critical{};

    /// Whether there was something to compare with, but no value for it.
    [[nodiscard]] bool cannot_tell() const noexcept {
        return cause == verdict_cause::no_number || cause == verdict_cause::no_growth;
    }
};

/// Names, units and lookup texts are as they were sent: not yet sanitised.
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
    channel_verdict verdict;
};

/// @return why the value is not good, with who says so: "False is an error by the module's lookup",
/// "92.5 °C is above 90 °C, the module's limit"; empty when nothing is wrong
[[nodiscard]] std::string reason_of(const channel_view& channel);

} // namespace tarvik::monitoring_modules::probe
