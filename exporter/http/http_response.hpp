#pragma once
// Requests and answers as libmicrohttpd has them, and what a client accepts.

#include "exporter/http/http_server.hpp"
#include "exporter/http/listening.hpp"

#include <microhttpd.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using response_owner = std::unique_ptr<MHD_Response, releaser<MHD_destroy_response>>;

/// @throws std::bad_alloc
[[nodiscard]] http_request
read_request(MHD_Connection* connection, const char* path, const char* method);

/// @param secure over TLS
/// @return what each answer tells browsers
[[nodiscard]] http_headers fixed_headers(bool secure);

/// @return an answer that holds nothing of the request and closes the connection
[[nodiscard]] http_answer refusal(int status);

/// @param fixed the answer's own headers replace those of the same names
/// @throws std::bad_alloc
[[nodiscard]] response_owner make_response(http_answer answer, http_headers fixed);

/// One choice of a header such as Accept or Accept-Encoding.
struct accepted_choice {
    std::string name;    ///< in lower case
    std::string version; ///< in lower case; empty: any
    double weight = 1;   ///< 0: not wanted
};

/// @param header may be empty
[[nodiscard]] std::vector<accepted_choice> accepted_choices(std::string_view header);

/// Compresses the body if it is text of a size for which it pays, and the client wants that.
/// @throws std::bad_alloc
void compress(http_answer& answer, std::string_view accept_encoding);

} // namespace tarvik::monitoring_modules::probe
