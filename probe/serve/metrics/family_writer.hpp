#pragma once
// Writes families of metrics in one of the two formats. Independent of the process's locale.

#include "probe/serve/metrics/exposition_format.hpp"
#include "probe/serve/metrics/metric_family.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

class family_writer final {
  public:
    explicit family_writer(exposition_format format) : format_{format} {}

    /// @param kind to write it as
    void write(const metric_family& family, metric_kind kind);

    /// Ends the text; only once.
    [[nodiscard]] std::string finished();

  private:
    void write_head(const metric_family& family, metric_kind kind);
    void write_histogram(const std::string& name, const metric_series& series);
    void write_labels(const metric_series& series, std::string_view upper_bound = {});
    void write_escaped(std::string_view text, bool quotes);
    void write_number(double value);

    const exposition_format format_;
    std::string text_;
};

/// @return the shortest text that reads back to the same number; "+Inf", "-Inf", "NaN"
[[nodiscard]] std::string metric_number(double value);

} // namespace tarvik::monitoring_modules::probe
