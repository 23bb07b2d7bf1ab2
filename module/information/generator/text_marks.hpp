#pragma once

// What a translation may not lose: placeholders ("%0:s", "%%") and markup ("[b]", "[/b]", "[i]",
// "[/i]", "[br]").

#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::information {

/// All marks of a text, sorted.
/// @throws std::runtime_error naming the mark for a "%" that is none and for markup that is not
/// closed, or closed in the wrong order.
[[nodiscard]] std::vector<std::string> marks_of(std::string_view text);

} // namespace tarvik::monitoring_modules::information
