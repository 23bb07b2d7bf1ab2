#include "probe/log_line.hpp"

#include <string_view>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string_view severity_name(std::int32_t severity) noexcept {
    if (severity < severity_error) {
        return "failure";
    }
    switch (severity) {
    case severity_error:
        return "error";
    case severity_warning:
        return "warning";
    case severity_warning + 1:
        return "notice";
    case severity_info:
        return "info";
    default:
        return "debug";
    }
}

} // namespace

std::string to_text(const log_line& line) {
    std::string text{severity_name(line.severity)};
    text.resize(9, ' ');
    return text + line.source + (line.source.empty() ? "" : ": ") + line.text;
}

} // namespace tarvik::monitoring_modules::probe
