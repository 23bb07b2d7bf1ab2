#pragma once
// The two texts in which metrics are given away, and which one a client wants.

#include <string_view>

namespace tarvik::monitoring_modules::probe {

enum class exposition_format {
    prometheus_text, ///< version 0.0.4
    openmetrics      ///< version 1.0.0
};

/// @param accept header of the request; may be empty
/// @return OpenMetrics when it is asked for by name and no less wanted than plain text
[[nodiscard]] exposition_format choose_format(std::string_view accept);

[[nodiscard]] std::string_view content_type_of(exposition_format format);

} // namespace tarvik::monitoring_modules::probe
