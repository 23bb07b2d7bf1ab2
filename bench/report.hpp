#pragma once

// Prints the benchmarks as one table of medians, with the ratios that matter and their goals.

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace tarvik::bench {

/// A ratio of two benchmarks' medians that should not exceed a bound.
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
    struct samples {
        std::vector<double> microseconds;
        double allocations = -1;
    };

    std::vector<std::string> order_;
    std::map<std::string, samples> runs_;
};

} // namespace tarvik::bench
