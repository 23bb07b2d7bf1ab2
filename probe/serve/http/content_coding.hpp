#pragma once
// What a client accepts, and compressed bodies for those that accept them.

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// One choice of a header such as Accept or Accept-Encoding.
struct accepted_choice {
    std::string name;    ///< in lower case
    std::string version; ///< in lower case; empty: any
    double weight = 1;   ///< 0: not wanted
};

/// @param header may be empty
[[nodiscard]] std::vector<accepted_choice> accepted_choices(std::string_view header);

/// @param accept_encoding header of a request
/// @return whether the body is text of a size for which it pays, and the client wants it
[[nodiscard]] bool is_worth_compressing(
    std::string_view body, std::string_view content_type, std::string_view accept_encoding
);

/// @throws std::bad_alloc
[[nodiscard]] std::string gzipped(const std::string& body);

} // namespace tarvik::monitoring_modules::probe
