#include "probe/serve/http/compression.hpp"

#include "probe/serve/http/ascii_text.hpp"

#include <httplib.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t smallest_body = 1024;

[[nodiscard]] std::string_view trimmed(std::string_view text) {
    const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
    text.remove_prefix(start);
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

/// @param parameters of a coding, ";q=0.000" for example
[[nodiscard]] bool is_unwanted(std::string_view parameters) {
    const std::size_t at = parameters.find("q=");
    return at != std::string_view::npos &&
           trimmed(parameters.substr(at + 2)).find_first_not_of("0.") == std::string_view::npos;
}

} // namespace

bool is_worth_compressing(std::string_view body, std::string_view content_type) {
    const std::string_view type = content_type.substr(0, content_type.find(';'));
    return body.size() >= smallest_body &&
           (type.starts_with("text/") || type == "application/openmetrics-text" ||
            type == "application/json" || type == "application/javascript" ||
            type == "image/svg+xml");
}

bool accepts_gzip(std::string_view header) {
    while (!header.empty()) {
        const std::string_view coding = header.substr(0, header.find(','));
        header.remove_prefix(std::min(coding.size() + 1, header.size()));
        const std::size_t end = std::min(coding.find(';'), coding.size());
        if (equal_ignoring_case(trimmed(coding.substr(0, end)), "gzip")) {
            return !is_unwanted(coding.substr(end));
        }
    }
    return false;
}

std::string gzipped(const std::string& body) {
    httplib::detail::gzip_compressor compressor;
    std::string result;
    const bool good = compressor.compress(
        body.data(),
        body.size(),
        true,
        [&result](const char* bytes, std::size_t size) {
            result.append(bytes, size);
            return true;
        }
    );
    if (!good) {
        throw std::runtime_error{"gzip failed"};
    }
    return result;
}

} // namespace tarvik::monitoring_modules::probe
