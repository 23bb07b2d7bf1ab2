#include "probe/serve/metrics/exposition.hpp"

#include "probe/serve/metrics/family_writer.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view total = "_total";

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

} // namespace tarvik::monitoring_modules::probe
