#pragma once
// Compressed bodies of answers.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @return whether it is text of a size for which it pays
[[nodiscard]] bool is_worth_compressing(std::string_view body, std::string_view content_type);

/// @param header Accept-Encoding of a request
[[nodiscard]] bool accepts_gzip(std::string_view header);

/// @throws std::runtime_error when there is no memory for it
[[nodiscard]] std::string gzipped(const std::string& body);

} // namespace tarvik::monitoring_modules::probe
