#pragma once
// The files of the page, which are part of the program.

#include <string_view>

namespace tarvik::monitoring_modules::probe {

struct page_asset {
    std::string_view path; ///< "/style.css"
    std::string_view content_type;
    std::string_view bytes;
};

/// @return null for an unknown path; "/" is the page itself
[[nodiscard]] const page_asset* find_page_asset(std::string_view path) noexcept;

} // namespace tarvik::monitoring_modules::probe
