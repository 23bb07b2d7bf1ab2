#include "exporter/metrics/exposition.hpp"

#include "exporter/http/http_response.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view total = "_total";

[[nodiscard]] std::string_view type_name(metric_kind kind, bool openmetrics) {
    switch (kind) {
    case metric_kind::gauge:
        return "gauge";
    case metric_kind::counter:
        return "counter";
    case metric_kind::histogram:
        return "histogram";
    case metric_kind::info:
        return openmetrics ? "info" : "gauge";
    case metric_kind::state_set:
        return openmetrics ? "stateset" : "gauge";
    case metric_kind::unknown:
        break;
    }
    return openmetrics ? "unknown" : "untyped";
}

/// OpenMetrics names a family without what its kind adds to the names of its samples.
[[nodiscard]] std::string_view openmetrics_name(std::string_view name, metric_kind kind) {
    const std::string_view suffix = kind == metric_kind::counter ? "_total"
                                    : kind == metric_kind::info  ? "_info"
                                                                 : "";
    return name.ends_with(suffix) ? name.substr(0, name.size() - suffix.size()) : name;
}

/// @return the text with U+FFFD in place of each byte that is no UTF-8
[[nodiscard]] std::string repaired(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t size = std::min<std::size_t>(4, text.size());
        while (size > 0 && !is_utf8(text.substr(0, size))) {
            --size;
        }
        result += size == 0 ? "\xef\xbf\xbd" : text.substr(0, size);
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return result;
}

/// @return the shortest text that reads back to the same number; "+Inf", "-Inf", "NaN"
[[nodiscard]] std::string metric_number(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value > 0 ? "+Inf" : "-Inf";
    }
    std::array<char, 32> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return {digits.data(), result.ptr};
}

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

    const exposition_format format_;
    std::string text_;
};

void family_writer::write(const metric_family& family, metric_kind kind) {
    write_head(family, kind);
    for (const metric_series& series : family.series) {
        if (series.histogram) {
            write_histogram(family.name, series);
            continue;
        }
        text_ += family.name;
        write_labels(series);
        text_.append(" ").append(metric_number(series.value)).append("\n");
    }
}

void family_writer::write_head(const metric_family& family, metric_kind kind) {
    const bool openmetrics = format_ == exposition_format::openmetrics;
    const std::string_view name =
        openmetrics ? openmetrics_name(family.name, kind) : std::string_view{family.name};
    const auto begin_line = [this, name](std::string_view what) -> std::string& {
        return text_.append("# ").append(what).append(" ").append(name).append(" ");
    };
    if (!openmetrics && !family.help.empty()) {
        begin_line("HELP");
        write_escaped(family.help, false);
        text_ += '\n';
    }
    begin_line("TYPE").append(type_name(kind, openmetrics)).append("\n");
    const bool may_have_unit = kind != metric_kind::info && kind != metric_kind::state_set;
    if (openmetrics && may_have_unit && !family.unit.empty() && name.ends_with("_" + family.unit)) {
        begin_line("UNIT").append(family.unit).append("\n");
    }
    if (openmetrics && !family.help.empty()) {
        begin_line("HELP");
        write_escaped(family.help, true);
        text_ += '\n';
    }
}

void family_writer::write_histogram(const std::string& name, const metric_series& series) {
    const histogram_value& histogram = *series.histogram;
    for (const histogram_bucket& bucket : histogram.buckets) {
        std::string bound = metric_number(bucket.upper_bound);
        if (bound.find_first_not_of("-0123456789") == std::string::npos) {
            bound += ".0"; // the same label in both formats: OpenMetrics writes bounds this way
        }
        text_.append(name).append("_bucket");
        write_labels(series, bound);
        text_.append(" ").append(std::to_string(bucket.count)).append("\n");
    }
    text_.append(name).append("_count");
    write_labels(series);
    text_.append(" ").append(std::to_string(histogram.count)).append("\n");
    text_.append(name).append("_sum");
    write_labels(series);
    text_.append(" ").append(metric_number(histogram.sum)).append("\n");
}

void family_writer::write_labels(const metric_series& series, std::string_view upper_bound) {
    char separator = '{';
    for (const metric_label& label : series.labels) {
        text_ += separator;
        text_.append(label.name).append("=\"");
        write_escaped(label.value, true);
        text_ += '"';
        separator = ',';
    }
    if (!upper_bound.empty()) {
        text_ += separator;
        text_.append("le=\"").append(upper_bound).append("\"");
        separator = ',';
    }
    if (separator == ',') {
        text_ += '}';
    }
}

void family_writer::write_escaped(std::string_view text, bool quotes) {
    if (!is_utf8(text)) {
        write_escaped(repaired(text), quotes);
        return;
    }
    const std::string_view special = quotes ? "\\\n\"" : "\\\n";
    for (std::size_t end = text.find_first_of(special); end != std::string_view::npos;
         end = text.find_first_of(special)) {
        text_.append(text.substr(0, end)).append("\\");
        text_ += text[end] == '\n' ? 'n' : text[end];
        text.remove_prefix(end + 1);
    }
    text_ += text;
}

std::string family_writer::finished() {
    if (format_ == exposition_format::openmetrics) {
        text_ += "# EOF\n";
    }
    return std::move(text_);
}

} // namespace

metric_family& exposition::family_for(const metric_family& head) {
    const auto [at, is_new] = families_.try_emplace(head.name);
    metric_family& family = at->second;
    if (is_new) {
        family = {head.name, head.help, head.unit, head.kind};
        return family;
    }
    if (head.kind != family.kind) {
        family.kind = metric_kind::unknown;
    }
    if (head.unit != family.unit) {
        family.unit.clear();
    }
    // One of them, but always the same one.
    if (head.help < family.help) {
        family.help = head.help;
    }
    return family;
}

void exposition::add(metric_family family) {
    std::vector<metric_series> series = std::exchange(family.series, {});
    std::vector<metric_series>& all = family_for(family).series;
    std::ranges::move(series, std::back_inserter(all));
}

void exposition::add(std::vector<metric_family> families) {
    for (metric_family& family : families) {
        add(std::move(family));
    }
}

void exposition::add(const metric_family& head, metric_series series) {
    family_for(head).series.push_back(std::move(series));
}

std::string exposition::write(exposition_format format) const {
    family_writer writer{format};
    for (const auto& [name, family] : families_) {
        if (family.series.empty()) {
            continue;
        }
        const bool clashes =
            format == exposition_format::openmetrics && family.kind == metric_kind::counter &&
            families_.contains(std::string_view{name}.substr(0, name.size() - total.size()));
        writer.write(family, clashes ? metric_kind::unknown : family.kind);
    }
    return writer.finished();
}

exposition_format choose_format(std::string_view accept) {
    double openmetrics = 0;
    double text = 0;
    for (const accepted_choice& type : accepted_choices(accept)) {
        if (type.name == "application/openmetrics-text") {
            const bool ours = type.version.empty() || type.version == "1.0.0";
            openmetrics = std::max(openmetrics, ours ? type.weight : 0);
        } else if (type.name == "text/plain" || type.name == "text/*" || type.name == "*/*") {
            text = std::max(text, type.weight);
        }
    }
    return openmetrics > 0 && openmetrics >= text ? exposition_format::openmetrics
                                                  : exposition_format::prometheus_text;
}

std::string_view content_type_of(exposition_format format) {
    return format == exposition_format::openmetrics
               ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
               : "text/plain; version=0.0.4; charset=utf-8";
}

} // namespace tarvik::monitoring_modules::probe
