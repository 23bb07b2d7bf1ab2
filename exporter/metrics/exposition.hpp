#pragma once
// Metrics as Prometheus and OpenMetrics see them: families of series.
// All metrics of one scrape. Families of one name, from many sensors, become one, as both formats
// demand; they stand in the order of their names, whatever came first.
//
// The same series have the same names in both formats. Where a counter "x_total" and another family
// "x" meet, OpenMetrics could not tell their families apart; the counter is then written as family
// "x_total" of unknown type. Families of one name but different kinds become unknown, too. So what
// one sensor has never changes the names that another one's series have.
// The two texts in which metrics are given away, and which one a client wants.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
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

enum class exposition_format {
    prometheus_text, ///< version 0.0.4
    openmetrics      ///< version 1.0.0
};

class exposition final {
  public:
    /// @param family its series must differ in their labels from those of the same name; without
    /// any it is not written
    void add(metric_family family);
    void add(std::vector<metric_family> families);

    /// Adds one series; makes the family unless there is one.
    /// @param head a family without series
    void add(const metric_family& head, metric_series series);

    [[nodiscard]] std::string write(exposition_format format) const;

  private:
    [[nodiscard]] metric_family& family_for(const metric_family& head);

    std::map<std::string, metric_family, std::less<>> families_;
};

/// @param accept header of the request; may be empty
/// @return OpenMetrics when it is asked for by name and no less wanted than plain text
[[nodiscard]] exposition_format choose_format(std::string_view accept);

[[nodiscard]] std::string_view content_type_of(exposition_format format);

} // namespace tarvik::monitoring_modules::probe
