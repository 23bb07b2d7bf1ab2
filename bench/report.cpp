#include "bench/report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace tarvik::bench {

namespace {

std::string plain_name(const std::string& name) {
    return name.substr(0, name.find('/'));
}

} // namespace

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

bool table_reporter::ReportContext(const Context&) {
    return true;
}

void table_reporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string name = plain_name(run.run_name.function_name);
        if (run.error_occurred) {
            std::printf("%s: %s\n", name.c_str(), run.error_message.c_str());
            continue;
        }
        if (run.run_type != Run::RT_Iteration) {
            continue;
        }
        if (!runs_.contains(name)) {
            order_.push_back(name);
        }
        samples& kept = runs_[name];
        const auto moment = run.counters.find("moment");
        kept.repetitions.push_back(
            {moment != run.counters.end() ? moment->second.value : 0,
             run.real_accumulated_time / static_cast<double>(run.iterations) * 1e6}
        );
        if (const auto counter = run.counters.find("allocations"); counter != run.counters.end()) {
            kept.allocations = counter->second.value;
        }
    }
}

double table_reporter::median_time(const samples& kept) {
    std::vector<double> times;
    for (const repetition& one : kept.repetitions) {
        times.push_back(one.microseconds);
    }
    return median(std::move(times));
}

double table_reporter::ratio(const samples& subject, const samples& baseline) {
    std::vector<double> ratios;
    for (const repetition& one : subject.repetitions) {
        const auto distance = [&one](const repetition& other) {
            return std::abs(other.moment - one.moment);
        };
        const auto nearest = std::ranges::min_element(baseline.repetitions, {}, distance);
        ratios.push_back(one.microseconds / nearest->microseconds);
    }
    return median(std::move(ratios));
}

void table_reporter::print(const std::vector<goal>& goals) const {
    std::printf("\n  %-24s %12s %8s %12s\n", "benchmark", "median us", "runs", "allocations");
    for (const std::string& name : order_) {
        const samples& kept = runs_.at(name);
        std::printf(
            "  %-24s %12.2f %8zu", name.c_str(), median_time(kept), kept.repetitions.size()
        );
        if (kept.allocations >= 0) {
            std::printf(" %12.1f", kept.allocations);
        }
        std::printf("\n");
    }
    std::printf("\n");
    for (const auto& [subject, baseline, at_most] : goals) {
        if (!runs_.contains(subject) || !runs_.contains(baseline)) {
            continue;
        }
        const double measured = ratio(runs_.at(subject), runs_.at(baseline));
        std::printf(
            "  %s / %s: %.2f (goal: at most %.2f)%s\n",
            subject.c_str(),
            baseline.c_str(),
            measured,
            at_most,
            measured <= at_most ? "" : "  <-- missed"
        );
    }
}

} // namespace tarvik::bench
