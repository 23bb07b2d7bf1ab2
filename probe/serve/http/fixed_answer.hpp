#pragma once
// What each answer tells browsers, and the answers that need no handler.

#include "probe/serve/http/http_message.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// @param secure whether it goes over TLS
[[nodiscard]] const http_headers& fixed_headers(bool secure);

/// @return a whole answer after which the connection is closed; it holds nothing of the request
/// @param head whether it answers HEAD, that is without its body
[[nodiscard]] std::string fixed_answer(int status, bool secure, bool head = false);

} // namespace tarvik::monitoring_modules::probe
