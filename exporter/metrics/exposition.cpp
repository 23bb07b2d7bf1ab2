#include "exporter/metrics/exposition.hpp"

#include "exporter/http/http_response.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

struct kind_names {
    std::string_view openmetrics;
    std::string_view prometheus;
    std::string_view suffix; // of samples, which OpenMetrics leaves out of the family's name
};

[[nodiscard]] const kind_names& names_of(metric_kind kind) {
    static constexpr std::array<kind_names, 6> names{
        {{"gauge", "gauge", ""},
         {"counter", "counter", "_total"},
         {"histogram", "histogram", ""},
         {"info", "gauge", "_info"},
         {"stateset", "gauge", ""},
         {"unknown", "untyped", ""}}};
    return names.at(static_cast<std::size_t>(kind));
}

[[nodiscard]] std::string_view without(std::string_view suffix, std::string_view name) {
    return name.ends_with(suffix) ? name.substr(0, name.size() - suffix.size()) : name;
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

/// What servers call things may be any bytes: characters that control whoever reads this become
/// visible.
/// @return the text with a backslash before each special character
[[nodiscard]] std::string escaped(std::string_view text, std::string_view special = "\\\"") {
    const auto is_plain = [special](char letter) {
        return letter >= ' ' && letter <= '~' && special.find(letter) == std::string_view::npos;
    };
    if (std::ranges::all_of(text, is_plain)) {
        return std::string{text};
    }
    std::string result;
    for (const char letter : sanitise(text)) {
        result.append(special.find(letter) == std::string_view::npos ? "" : "\\") += letter;
    }
    return result;
}

/// Appends families to a text.
class family_writer final {
  public:
    family_writer(std::string& text, exposition_format format)
        : text_{text},
          openmetrics_{format == exposition_format::openmetrics} {}

    /// @param kind to write it as
    void write_head(const metric_family& family, metric_kind kind) {
        const kind_names& names = names_of(kind);
        const std::string name{openmetrics_ ? without(names.suffix, family.name) : family.name};
        if (!openmetrics_) {
            write_comment("HELP", name, escaped(family.help, "\\"));
        }
        write_comment("TYPE", name, openmetrics_ ? names.openmetrics : names.prometheus);
        const bool may_have_unit = kind != metric_kind::info && kind != metric_kind::state_set;
        if (openmetrics_ && may_have_unit && name.ends_with("_" + family.unit)) {
            write_comment("UNIT", name, family.unit);
        }
        if (openmetrics_) {
            write_comment("HELP", name, escaped(family.help));
        }
    }

    void write(const std::string& name, const metric_series& series) {
        if (!series.histogram) {
            write_sample(name, series.labels, metric_number(series.value));
            return;
        }
        metric_labels with_bound = series.labels;
        with_bound.push_back({"le", ""});
        for (const auto& bucket : series.histogram->bucket) {
            std::string& bound = with_bound.back().value = metric_number(bucket.upper_bound);
            if (bound.find_first_not_of("-0123456789") == std::string::npos) {
                bound += ".0"; // the same label in both formats: OpenMetrics writes bounds this way
            }
            write_sample(name + "_bucket", with_bound, std::to_string(bucket.cumulative_count));
        }
        const auto& [count, sum, buckets] = *series.histogram;
        write_sample(name + "_count", series.labels, std::to_string(count));
        write_sample(name + "_sum", series.labels, metric_number(sum));
    }

  private:
    void write_comment(std::string_view what, std::string_view name, std::string_view content) {
        if (!content.empty()) {
            text_.append("# ").append(what).append(" ").append(name);
            text_.append(" ").append(content).append("\n");
        }
    }

    void write_sample(std::string_view name, const metric_labels& labels, std::string_view number) {
        text_ += name;
        char separator = '{';
        for (const auto& [label, value] : labels) {
            text_ += std::exchange(separator, ',');
            text_.append(label).append("=\"").append(escaped(value)).append("\"");
        }
        text_.append(labels.empty() ? " " : "} ").append(number).append("\n");
    }

    std::string& text_;
    const bool openmetrics_;
};

} // namespace

void exposition::add(const metric_family& family, metric_series series) {
    auto& [head, all] =
        families_.try_emplace(family.name, collected_family{family, {}}).first->second;
    if (family.kind != head.kind) {
        head.kind = metric_kind::unknown;
    }
    if (family.unit != head.unit) {
        head.unit.clear();
    }
    head.help = std::min(head.help, family.help); // one of them, but always the same one
    all.push_back(std::move(series));
}

std::string exposition::write(exposition_format format) const {
    std::string text;
    family_writer writer{text, format};
    const bool openmetrics = format == exposition_format::openmetrics;
    for (const auto& [name, family] : families_) {
        const metric_kind kind = family.head.kind;
        const bool clashes = openmetrics && kind == metric_kind::counter &&
                             families_.contains(without(names_of(kind).suffix, name));
        writer.write_head(family.head, clashes ? metric_kind::unknown : kind);
        for (const metric_series& series : family.series) {
            writer.write(name, series);
        }
    }
    if (openmetrics) {
        text += "# EOF\n";
    }
    return text;
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
