#pragma once
// Metrics as Prometheus and OpenMetrics see them: families of series.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

enum class metric_kind {
    gauge,
    counter,   ///< only grows, but for restarts
    histogram, ///< of observed values
    info,      ///< always 1; what it tells is in its labels
    state_set, ///< 1 for the states that hold, else 0; the state is the label named as the family
    unknown    ///< families of several kinds that have one name
};

struct metric_label {
    std::string name;
    std::string value; ///< any bytes; what is no UTF-8 is replaced when it is written
};

struct histogram_bucket {
    double upper_bound = 0;
    std::uint64_t count = 0; ///< of all values up to the bound
};

struct histogram_value {
    std::vector<histogram_bucket> buckets; ///< by their bounds; the one of all values last
    std::uint64_t count = 0;
    double sum = 0;
};

struct metric_series {
    std::vector<metric_label> labels;
    double value = 0;
    std::optional<histogram_value> histogram{}; ///< of histograms, in place of the value
};

struct metric_family {
    std::string name; ///< as samples have it: a counter's ends in "_total", an info's in "_info"
    std::string help; ///< any bytes
    std::string unit; ///< base unit with which the name ends, "_total" aside; empty: none
    metric_kind kind = metric_kind::gauge;
    std::vector<metric_series> series{};
};

} // namespace tarvik::monitoring_modules::probe
