#pragma once
// What a client asks and what it gets.

#include "text/words.hpp"

#include <algorithm>
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

    /// @param name in any case
    /// @return the first one of this name
    [[nodiscard]] std::optional<std::string> header(std::string_view name) const {
        const auto found = std::ranges::find_if(headers, [name](const auto& each) {
            return same_in_any_case(each.first, name);
        });
        return found == headers.end() ? std::nullopt : std::optional{found->second};
    }

    /// @return the first one of this name
    [[nodiscard]] std::optional<std::string> parameter(const std::string& name) const {
        const auto found = parameters.find(name);
        return found == parameters.end() ? std::nullopt : std::optional{found->second};
    }
};

struct http_answer {
    int status = 200;
    std::string content_type; ///< empty: "text/plain"
    std::string body;
    http_headers headers{}; ///< further ones; they replace the server's own of the same names
};

[[nodiscard]] inline http_answer plain_answer(int status, std::string text) {
    return {status, "text/plain; charset=utf-8", std::move(text)};
}

/// Called on several threads at once. What it throws becomes an answer 500 without further words.
using http_handler = std::function<http_answer(const http_request&)>;

/// Called with path and status on several threads at once, for each request that could be
/// understood; must not throw.
using http_observer = std::function<void(const std::string&, int)>;

} // namespace tarvik::monitoring_modules::probe
