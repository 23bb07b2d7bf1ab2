#include "probe/serve/http/http_message.hpp"

#include "probe/serve/http/ascii_text.hpp"

#include <algorithm>

namespace tarvik::monitoring_modules::probe {

std::optional<std::string> http_request::header(std::string_view name) const {
    const auto found = std::ranges::find_if(headers, [name](const auto& each) {
        return equal_ignoring_case(each.first, name);
    });
    return found == headers.end() ? std::nullopt : std::optional{found->second};
}

std::optional<std::string> http_request::parameter(const std::string& name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::nullopt : std::optional{found->second};
}

} // namespace tarvik::monitoring_modules::probe
