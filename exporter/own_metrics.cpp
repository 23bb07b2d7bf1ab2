#include "exporter/own_metrics.hpp"

#include "exporter/http/http_message.hpp"
#include "host/translation.hpp"
#include "text/words.hpp"
#include <prometheus/counter.h>
#include <prometheus/family.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <set>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

using counters = prometheus::Family<prometheus::Counter>;
using gauges = prometheus::Family<prometheus::Gauge>;
using histograms = prometheus::Family<prometheus::Histogram>;

constexpr std::size_t most_errors = 100;

[[nodiscard]] const prometheus::Histogram::BucketBoundaries& scan_buckets() {
    static const prometheus::Histogram::BucketBoundaries bounds{
        0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60};
    return bounds;
}

/// @return the key of the error's message in letters that are no surprise in a label
[[nodiscard]] std::string error_label(const std::string& identity) {
    const auto parsed = parse_identity(identity);
    std::string label = parsed ? parsed->key : "";
    for (char& letter : label) {
        letter = lower_case(letter);
        const bool good = (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') ||
                          letter == '_' || letter == '.';
        letter = good ? letter : '_';
    }
    return label.empty() ? "other" : label.substr(0, 100);
}

[[nodiscard]] metric_series
make_series(const prometheus::ClientMetric& metric, prometheus::MetricType type) {
    metric_series series;
    for (const auto& label : metric.label) {
        series.labels.push_back({label.name, label.value});
    }
    if (type == prometheus::MetricType::Counter) {
        series.value = metric.counter.value;
    } else if (type == prometheus::MetricType::Gauge) {
        series.value = metric.gauge.value;
    } else {
        histogram_value& histogram = series.histogram.emplace();
        for (const auto& bucket : metric.histogram.bucket) {
            histogram.buckets.push_back({bucket.upper_bound, bucket.cumulative_count});
        }
        histogram.count = metric.histogram.sample_count;
        histogram.sum = metric.histogram.sample_sum;
    }
    return series;
}

[[nodiscard]] metric_family make_family(const prometheus::MetricFamily& collected) {
    const bool counter = collected.type == prometheus::MetricType::Counter;
    const bool histogram = collected.type == prometheus::MetricType::Histogram;
    metric_family family{
        collected.name,
        collected.help,
        collected.name.ends_with("_seconds") ? "seconds" : "",
        counter     ? metric_kind::counter
        : histogram ? metric_kind::histogram
                    : metric_kind::gauge};
    for (const prometheus::ClientMetric& metric : collected.metric) {
        family.series.push_back(make_series(metric, collected.type));
    }
    return family;
}

[[nodiscard]] const char* outcome_of(const scan_outcome& outcome) {
    if (outcome.fault) {
        return "error";
    }
    return outcome.shown->state == sensor_state::ok ? "ok" : "warning";
}

} // namespace

struct own_metrics::families {
    explicit families(std::string program_version) : version{std::move(program_version)} {}

    [[nodiscard]] counters& add_counters(const char* name, const char* help) {
        return prometheus::BuildCounter().Name(name).Help(help).Register(registry);
    }

    template <typename Metric>
    static void remove(prometheus::Family<Metric>& family, const prometheus::Labels& labels) {
        if (family.Has(labels)) {
            family.Remove(&family.Add(labels));
        }
    }

    // The registry guards itself, but not a series from being removed while it is counted up.
    std::mutex mutex;
    const std::string version;
    prometheus::Registry registry;
    histograms& durations = prometheus::BuildHistogram()
                                .Name("opcua_probe_scan_duration_seconds")
                                .Help("How long scans took.")
                                .Register(registry);
    counters& scans = add_counters("opcua_probe_scans_total", "Scans by their outcomes.");
    counters& connects = add_counters("opcua_probe_connects_total", "Sessions that were opened.");
    counters& retries = add_counters(
        "opcua_probe_retries_total", "Attempts to reach a server again after a failure."
    );
    counters& failures =
        add_counters("opcua_probe_failures_total", "Failed scans by their errors.");
    gauges& sessions = prometheus::BuildGauge()
                           .Name("opcua_probe_sessions")
                           .Help("Sessions that are open.")
                           .Register(registry);
    counters& requests =
        add_counters("opcua_probe_http_requests_total", "HTTP requests by their answers.");
    prometheus::Counter& late =
        add_counters(
            "opcua_probe_late_scans_total", "Scans that began an interval or more too late."
        )
            .Add({});
    std::set<std::string> errors;
};

own_metrics::own_metrics(const std::string& version)
    : families_{std::make_unique<families>(version)} {}

own_metrics::~own_metrics() = default;

void own_metrics::scanned(const sensor_plan& plan, const scan_outcome& outcome) {
    const prometheus::Labels server{{"server", plan.connection}};
    const std::lock_guard lock{families_->mutex};
    families_->durations.Add({{"kind", plan.kind}}, scan_buckets()).Observe(outcome.took.count());
    families_->scans.Add({{"kind", plan.kind}, {"outcome", outcome_of(outcome)}}).Increment();
    if (outcome.sessions_opened > 0) {
        families_->connects.Add(server).Increment(outcome.sessions_opened);
    }
    if (outcome.retries > 0) {
        families_->retries.Add(server).Increment(outcome.retries);
    }
    if (outcome.fault) {
        std::string label = error_label(outcome.fault->identity);
        if (families_->errors.size() >= most_errors && !families_->errors.contains(label)) {
            label = "other";
        }
        families_->errors.insert(label);
        families_->failures.Add({{"error", label}}).Increment();
    }
}

void own_metrics::retried(const std::string& connection) {
    const std::lock_guard lock{families_->mutex};
    families_->retries.Add({{"server", connection}}).Increment();
}

void own_metrics::missed_interval(const sensor_plan& /*plan*/) {
    families_->late.Increment();
}

void own_metrics::session_changed(const std::string& connection, bool open) {
    const std::lock_guard lock{families_->mutex};
    families_->sessions.Add({{"server", connection}}).Set(open ? 1 : 0);
}

void own_metrics::connection_gone(const std::string& connection) {
    const std::lock_guard lock{families_->mutex};
    const prometheus::Labels labels{{"server", connection}};
    families::remove(families_->connects, labels);
    families::remove(families_->retries, labels);
    families::remove(families_->sessions, labels);
}

void own_metrics::served(const std::string& path_class, int status) {
    families_->requests.Add({{"path", path_class}, {"code", std::to_string(status)}}).Increment();
}

std::vector<metric_family> own_metrics::collect() const {
    std::vector<metric_family> result = process_metrics();
    for (const prometheus::MetricFamily& collected : families_->registry.Collect()) {
        result.push_back(make_family(collected));
    }
    result.push_back(
        {"opcua_probe_build_info",
         "Version of this program.",
         "",
         metric_kind::info,
         {{{{"version", families_->version}}, 1}}}
    );
    return result;
}

} // namespace tarvik::monitoring_modules::probe
