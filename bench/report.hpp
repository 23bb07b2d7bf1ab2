#pragma once

// Prints the benchmarks as one table of medians, with the ratios that matter and their goals.

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

/// @pre there are values.
[[nodiscard]] double median(std::vector<double> values);

/// A ratio of two benchmarks that should not exceed a bound. Each repetition of the subject is
/// compared with the baseline's nearest in time, and the median of these ratios counts: a machine
/// that is slow for a while is slow for both.
struct goal {
    std::string subject;
    std::string baseline;
    double at_most;
};

class table_reporter final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Writes the medians, then the ratios.
    void print(const std::vector<goal>& goals) const;

  private:
    struct repetition {
        double moment; ///< seconds; 0 where the benchmark has not noted it
        double microseconds;
    };
    struct samples {
        std::vector<repetition> repetitions;
        double allocations = -1;
    };

    [[nodiscard]] static double median_time(const samples& kept);
    [[nodiscard]] static double ratio(const samples& subject, const samples& baseline);

    std::vector<std::string> order_;
    std::map<std::string, samples> runs_;
};

} // namespace tarvik::bench
