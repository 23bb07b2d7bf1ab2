#pragma once
// All metrics of one scrape, as the texts of Prometheus and OpenMetrics. Families of one name, from
// many sensors, become one, as both formats demand; they stand in the order of their names.
//
// The same series have the same names in both formats. Where a counter "x_total" and another family
// "x" meet, OpenMetrics could not tell their families apart; the counter is then written as family
// "x_total" of unknown type. Families of one name but different kinds become unknown, too. So what
// one sensor has never changes the names that another one's series have.

#include <prometheus/client_metric.h>

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

struct metric_family {
    std::string name; ///< as samples have it: a counter's ends in "_total", an info's in "_info"
    std::string help; ///< any bytes
    std::string unit; ///< base unit with which the name ends, "_total" aside; empty: none
    metric_kind kind = metric_kind::gauge;
};

/// Values of labels are any bytes; what is no UTF-8 is replaced when it is written.
using metric_labels = std::vector<prometheus::ClientMetric::Label>;

struct metric_series {
    metric_labels labels;
    double value = 0;
    std::optional<prometheus::ClientMetric::Histogram> histogram{}; ///< in place of the value
};

enum class exposition_format {
    prometheus_text, ///< version 0.0.4
    openmetrics      ///< version 1.0.0
};

class exposition final {
  public:
    /// @param series must differ in its labels from those of the same name
    void add(const metric_family& family, metric_series series);

    [[nodiscard]] std::string write(exposition_format format) const;

  private:
    struct collected_family {
        metric_family head;
        std::vector<metric_series> series;
    };

    std::map<std::string, collected_family, std::less<>> families_;
};

/// @param accept header of the request; may be empty
/// @return OpenMetrics when it is asked for by name and no less wanted than plain text
[[nodiscard]] exposition_format choose_format(std::string_view accept);

[[nodiscard]] std::string_view content_type_of(exposition_format format);

} // namespace tarvik::monitoring_modules::probe
