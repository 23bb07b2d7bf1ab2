#include "probe/serve/metrics/exposition_format.hpp"

#include "probe/serve/http/content_coding.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

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
