#include "common/libstringutils/format.hpp"

namespace tarvik::monitoring_modules::libstringutils {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view conversion = ":s";

std::string_view
argument_at(std::string_view written_index, std::span<const std::string_view> arguments) {
    const long index = std::stol(std::string{written_index});
    if (static_cast<std::size_t>(index) >= arguments.size()) {
        throw exceptions::placeholder_index_not_in_arguments{
            "Index " + std::string{written_index} + " is too high for argument list."};
    }
    return arguments[static_cast<std::size_t>(index)];
}

} // namespace

std::string
format_arguments(std::string_view format_string, std::span<const std::string_view> arguments) {
    std::string result;
    for (std::string_view rest = format_string;;) {
        const std::size_t mark = rest.find('%');
        result.append(rest.substr(0, mark));
        if (mark == std::string_view::npos) {
            return result;
        }
        rest.remove_prefix(mark + 1);
        const std::string_view index = rest.substr(0, rest.find_first_not_of(digits));
        if (!index.empty() && rest.substr(index.size()).starts_with(conversion)) {
            result.append(argument_at(index, arguments));
            rest.remove_prefix(index.size() + conversion.size());
        } else if (rest.starts_with('%')) {
            result.push_back('%');
            rest.remove_prefix(1);
        } else {
            throw exceptions::format_string_error{"Malformed placeholder in format string."};
        }
    }
}

} // namespace tarvik::monitoring_modules::libstringutils
