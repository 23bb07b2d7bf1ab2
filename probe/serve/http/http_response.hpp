#pragma once
// Answers as libmicrohttpd sends them.

#include "probe/serve/http/http_message.hpp"
#include "probe/serve/http/tls_files.hpp"

#include <microhttpd.h>

#include <memory>

namespace tarvik::monitoring_modules::probe {

using response_owner = std::unique_ptr<MHD_Response, releaser<MHD_destroy_response>>;

/// @param secure whether it goes over TLS
/// @return what each answer tells browsers
[[nodiscard]] http_headers fixed_headers(bool secure);

/// @return the answer to a request that is not welcome, after which the connection is closed; it
/// holds nothing of the request
[[nodiscard]] http_answer refusal(int status);

/// @param fixed the answer's own headers replace those of the same names
/// @throws std::bad_alloc
[[nodiscard]] response_owner make_response(http_answer answer, http_headers fixed);

} // namespace tarvik::monitoring_modules::probe
