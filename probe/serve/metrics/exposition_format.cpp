#include "probe/serve/metrics/exposition_format.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>

namespace tarvik::monitoring_modules::probe {

namespace {

/// Takes what stands before the next separator away from the text.
/// @return it, in lower case and without blanks around it
[[nodiscard]] std::string next_part(std::string_view& text, char separator) {
    std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    part.remove_prefix(std::min(part.find_first_not_of(" \t"), part.size()));
    std::string result{part.substr(0, part.find_last_not_of(" \t") + 1)};
    for (char& letter : result) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return result;
}

struct accepted_type {
    std::string name;
    std::string version; ///< empty: any
    double weight = 1;   ///< 0: not wanted
};

[[nodiscard]] double read_weight(const std::string& text) {
    double weight = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), weight);
    const bool good = problem == std::errc{} && end == text.data() + text.size();
    return good && weight >= 0 && weight <= 1 ? weight : 0;
}

[[nodiscard]] accepted_type read_type(std::string_view range) {
    accepted_type type{next_part(range, ';'), ""};
    while (!range.empty()) {
        const std::string parameter = next_part(range, ';');
        if (parameter.starts_with("q=")) {
            type.weight = read_weight(parameter.substr(2));
        } else if (parameter.starts_with("version=")) {
            type.version = parameter.substr(8);
            std::erase(type.version, '"');
        }
    }
    return type;
}

} // namespace

exposition_format choose_format(std::string_view accept) {
    double openmetrics = 0;
    double text = 0;
    while (!accept.empty()) {
        const std::size_t end = std::min(accept.find(','), accept.size());
        const accepted_type type = read_type(accept.substr(0, end));
        accept.remove_prefix(std::min(end + 1, accept.size()));
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
