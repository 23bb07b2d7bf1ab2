#pragma once
// Units of channels as base units, which metrics are to be in: seconds, bytes, celsius, ratio.

#include "host/message.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// What the numbers of a unit become: × multiply ÷ divide. Two numbers, because both can be exact
/// where their quotient is not.
struct metric_unit {
    std::string name; ///< with which the metric's name ends; empty: numbers of no unit
    double multiply = 1;
    double divide = 1;
};

/// A unit that is not known keeps its numbers and lends its text, as far as names can have it.
[[nodiscard]] metric_unit base_unit(const channel_unit& unit);

} // namespace tarvik::monitoring_modules::probe
