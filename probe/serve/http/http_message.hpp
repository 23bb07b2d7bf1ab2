#pragma once
// What a client asks and what it gets.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

using http_headers = std::vector<std::pair<std::string, std::string>>;

/// Texts come from outside: any bytes, perhaps no UTF-8.
struct http_request {
    std::string method; ///< "GET" or "HEAD"; an answer to HEAD is made like one to GET
    std::string path;   ///< decoded; begins with "/"
    std::multimap<std::string, std::string> parameters; ///< of the query, decoded
    http_headers headers;
    std::string peer; ///< the client's IP address

    /// @param name in any case
    /// @return the first one of this name
    [[nodiscard]] std::optional<std::string> header(std::string_view name) const;

    /// @return the first one of this name
    [[nodiscard]] std::optional<std::string> parameter(const std::string& name) const;
};

struct http_answer {
    int status = 200;
    std::string content_type; ///< empty: "text/plain"
    std::string body;
    http_headers headers{}; ///< further ones; they replace the server's own of the same names
};

/// What became of a request; also of those that never reached the handler.
struct http_record {
    std::string path; ///< empty: the request could not be understood
    std::string peer;
    int status = 0;
    double seconds = 0;  ///< spent on the answer
    std::string problem; ///< what the handler threw; empty: nothing
};

/// Called on several threads at once. What it throws becomes an answer 500 without further words.
using http_handler = std::function<http_answer(const http_request&)>;

/// Called on several threads at once, after each answer was made; must not throw.
using http_observer = std::function<void(const http_record&)>;

} // namespace tarvik::monitoring_modules::probe
