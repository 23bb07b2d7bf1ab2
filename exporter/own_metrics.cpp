#include "exporter/own_metrics.hpp"

#include "host/probe_error.hpp"
#include "host/translation.hpp"
#include "text/number.hpp"
#include "text/words.hpp"
#include <sys/resource.h>
#include <sys/time.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_errors = 100;
constexpr const char* good_letters = "abcdefghijklmnopqrstuvwxyz0123456789_.";

[[nodiscard]] const prometheus::Histogram::BucketBoundaries& scan_buckets() {
    static const prometheus::Histogram::BucketBoundaries bounds{
        0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30, 60};
    return bounds;
}

/// @return the key of the error's message in letters that are no surprise in a label
[[nodiscard]] std::string error_label(const std::string& identity) {
    const auto parsed = parse_identity(identity);
    std::string label = lower_case(parsed ? parsed->key : "");
    for (std::size_t at = 0;
         (at = label.find_first_not_of(good_letters, at)) != std::string::npos;) {
        label[at] = '_';
    }
    return label.empty() ? "other" : label.substr(0, 100);
}

/// @return what the scan came to: the state of its values, or why there are none
[[nodiscard]] std::string_view outcome_label(const scan_outcome& outcome) {
    if (outcome.fault) {
        return outcome.fault->connection ? "not_connected" : "failed";
    }
    return name_of(outcome.shown->state);
}

template <typename Metric>
void remove(prometheus::Family<Metric>& family, const prometheus::Labels& labels) {
    if (family.Has(labels)) {
        family.Remove(&family.Add(labels));
    }
}

void add_collected(exposition& metrics, const prometheus::MetricFamily& collected) {
    metric_family family{
        collected.name, collected.help, collected.name.ends_with("_seconds") ? "seconds" : ""};
    for (const prometheus::ClientMetric& metric : collected.metric) {
        metric_series series{metric.label, metric.gauge.value};
        if (collected.type == prometheus::MetricType::Counter) {
            family.kind = metric_kind::counter;
            series.value = metric.counter.value;
        } else if (collected.type == prometheus::MetricType::Histogram) {
            family.kind = metric_kind::histogram;
            series.histogram = metric.histogram;
        }
        metrics.add(family, std::move(series));
    }
}

/// @param begin a text; the last one counts
/// @return the words that follow it in a file of /proc; none when it is not there
[[nodiscard]] std::vector<std::string> words_after(std::string_view begin, const char* file) {
    std::ifstream stream{file};
    const std::string all{std::istreambuf_iterator<char>{stream}, {}};
    const std::size_t at = all.rfind(begin);
    std::istringstream rest{at == std::string::npos ? "" : all.substr(at + begin.size())};
    return {std::istream_iterator<std::string>{rest}, {}};
}

/// @return how many descriptors are open; 0: unknown
[[nodiscard]] double open_files() {
    std::error_code problem;
    const std::filesystem::directory_iterator files{"/proc/self/fd", problem};
    // One is the iterator's own.
    return problem ? 0 : static_cast<double>(std::distance(begin(files), end(files))) - 1;
}

void add_process(exposition& metrics) {
    const auto add =
        [&metrics](const char* name, const char* help, const char* unit, double value) {
            const bool counts = std::string_view{name}.ends_with("_total");
            const metric_kind kind = counts ? metric_kind::counter : metric_kind::gauge;
            metrics.add({name, help, unit, kind}, {{}, value});
        };
    if (rusage usage{}; getrusage(RUSAGE_SELF, &usage) == 0) {
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        add("process_cpu_seconds_total",
            "CPU time of this process.",
            "seconds",
            seconds(usage.ru_utime) + seconds(usage.ru_stime));
    }
    // Fields are numbered as in proc(5); before the third one is a name in brackets.
    constexpr std::size_t first = 3;
    constexpr std::size_t last = 24;
    const std::vector<std::string> status = words_after(") ", "/proc/self/stat");
    const std::vector<std::string> boot = words_after("btime ", "/proc/stat");
    if (status.size() > last - first) {
        const auto number = [](const std::string& word) {
            return parse_number<double>(word).value_or(0);
        };
        const auto field = [&](std::size_t which) { return number(status.at(which - first)); };
        const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
        const auto page = static_cast<double>(sysconf(_SC_PAGESIZE));
        add("process_threads", "Threads of this process.", "", field(20));
        add("process_virtual_memory_bytes", "Address space of this process.", "bytes", field(23));
        add("process_resident_memory_bytes",
            "Memory of this process in RAM.",
            "bytes",
            field(24) * page);
        if (!boot.empty()) {
            add("process_start_time_seconds",
                "When this process started, since 1970.",
                "seconds",
                number(boot.front()) + field(22) / ticks);
        }
    }
    if (const double files = open_files(); files > 0) {
        add("process_open_fds", "Open file descriptors of this process.", "", files);
    }
    if (rlimit limit{}; getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        add("process_max_fds",
            "Most file descriptors that this process may open.",
            "",
            static_cast<double>(limit.rlim_cur));
    }
}

} // namespace

void own_metrics::scanned(const sensor_plan& plan, const scan_outcome& outcome) {
    const std::string_view result = outcome_label(outcome);
    const std::lock_guard lock{mutex_};
    kind_metrics& of_kind = kinds_[plan.kind];
    if (of_kind.durations == nullptr) {
        of_kind.durations = &durations_.Add({{"kind", plan.kind}}, scan_buckets());
    }
    of_kind.durations->Observe(outcome.took.count());
    prometheus::Counter*& scans = of_kind.scans[result];
    if (scans == nullptr) {
        scans = &scans_.Add({{"kind", plan.kind}, {"outcome", std::string{result}}});
    }
    scans->Increment();
    if (outcome.notes.sessions_opened > 0) {
        connects_.Add({{"server", plan.connection}}).Increment(outcome.notes.sessions_opened);
    }
    if (outcome.notes.retries > 0) {
        retries_.Add({{"server", plan.connection}}).Increment(outcome.notes.retries);
    }
    if (outcome.fault) {
        std::string label = error_label(outcome.fault->identity);
        if (errors_.size() >= most_errors && !errors_.contains(label)) {
            label = "other";
        }
        errors_.insert(label);
        failures_.Add({{"error", label}}).Increment();
    }
}

void own_metrics::session_changed(const std::string& connection, bool open) {
    const std::lock_guard lock{mutex_};
    sessions_.Add({{"server", connection}}).Set(open ? 1 : 0);
}

void own_metrics::connection_gone(const std::string& connection) {
    if (judge_ != nullptr) {
        judge_->forget(connection.substr(0, connection.find(' '))); // before who goes there how
    }
    const std::lock_guard lock{mutex_};
    const prometheus::Labels labels{{"server", connection}};
    remove(connects_, labels);
    remove(retries_, labels);
    remove(sessions_, labels);
}

void own_metrics::served(const std::string& path_class, int status) {
    requests_.Add({{"path", path_class}, {"code", std::to_string(status)}}).Increment();
}

std::vector<own_metrics::certificate_days> own_metrics::certificates(wall_time now) const {
    std::vector<certificate_days> all;
    if (judge_ == nullptr) {
        return all;
    }
    try {
        if (const auto own = judge_->folder().own()) {
            all.push_back({"", own->shown.name(), days_left(own->shown, now).value_or(-1)});
        }
    } catch (const probe_error&) { // it cannot be read: whoever connects with it will hear of it
    }
    for (const seen_certificate& seen : judge_->seen()) {
        const auto left = std::chrono::floor<std::chrono::days>(seen.not_after - now);
        all.push_back({seen.server, seen.name, left.count()});
    }
    return all;
}

void own_metrics::add_to(exposition& metrics, wall_time now) const {
    add_process(metrics);
    for (const auto& [server, name, days] : certificates(now)) {
        const auto value = static_cast<double>(days);
        if (server.empty()) {
            metrics.add(
                {"opcua_probe_own_certificate_remaining_days",
                 "Full days until the certificate expires by which servers know this program.",
                 "",
                 metric_kind::gauge},
                {{}, value}
            );
        } else {
            metrics.add(
                {"opcua_probe_server_certificate_remaining_days",
                 "Full days until the certificate expires that a server showed last.",
                 "",
                 metric_kind::gauge},
                {{{"server", server}, {"name", name}}, value}
            );
        }
    }
    for (const prometheus::MetricFamily& collected : registry_.Collect()) {
        add_collected(metrics, collected);
    }
    metrics.add(
        {"opcua_probe_build_info", "Version of this program.", "", metric_kind::info},
        {{{"version", version_}}, 1}
    );
}

} // namespace tarvik::monitoring_modules::probe
