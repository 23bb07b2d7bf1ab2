#pragma once
// All metrics of one scrape. Families of one name, from many sensors, become one, as both formats
// demand; they stand in the order of their names, whatever came first.
//
// The same series have the same names in both formats. Where a counter "x_total" and another family
// "x" meet, OpenMetrics could not tell their families apart; the counter is then written as family
// "x_total" of unknown type. Families of one name but different kinds become unknown, too. So what
// one sensor has never changes the names that another one's series have.

#include "probe/serve/metrics/exposition_format.hpp"
#include "probe/serve/metrics/metric_family.hpp"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

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

} // namespace tarvik::monitoring_modules::probe
