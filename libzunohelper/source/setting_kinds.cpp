#include "zunohelper/setting_kinds.hpp"

#include "utf8.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace tarvik::monitoring_modules::libzunohelper {

namespace {

template <typename Number>
std::string written(Number number) {
    char digits[32];
    return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

void check_length(
    std::string_view key, std::string_view text, const std::optional<std::size_t>& max_length
) {
    if (!max_length) {
        return;
    }
    if (const std::size_t length = utf8::length(text); length > *max_length) {
        throw utils::exceptions::string_too_long{key, written(length), written(*max_length)};
    }
}

} // namespace

std::int64_t kind_integer::parse(std::string_view key, std::string_view text) const {
    using limits = std::numeric_limits<std::int64_t>;
    const std::int64_t lowest = minimum.value_or(limits::min());
    const std::int64_t highest = maximum.value_or(limits::max());
    std::int64_t value = 0;
    const char* const text_end = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), text_end, value);
    if (error == std::errc::invalid_argument || end != text_end) {
        throw utils::exceptions::setting_invalid{text, key};
    }
    // A number that 64 bits cannot hold lies beyond every limit.
    const bool too_long = error == std::errc::result_out_of_range;
    const bool negative = text.starts_with('-');
    if (too_long ? negative : value < lowest) {
        throw utils::exceptions::setting_invalid_less_min{text, written(lowest)};
    }
    if (too_long ? !negative : value > highest) {
        throw utils::exceptions::setting_invalid_bigger_max{text, written(highest)};
    }
    return value;
}

double kind_float::parse(std::string_view key, std::string_view text) const {
    double value = 0;
    const char* const text_end = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), text_end, value);
    if (error != std::errc{} || end != text_end || !std::isfinite(value)) {
        throw utils::exceptions::setting_invalid{text, key};
    }
    if (minimum && value < *minimum) {
        throw utils::exceptions::setting_invalid_less_min{text, written(*minimum)};
    }
    if (maximum && value > *maximum) {
        throw utils::exceptions::setting_invalid_bigger_max{text, written(*maximum)};
    }
    return value;
}

std::string kind_string::parse(std::string_view key, std::string_view text) const {
    check_length(key, text, max_length);
    return std::string{text};
}

std::string kind_host::parse(std::string_view key, std::string_view text) const {
    if (text.find('\0') != std::string_view::npos) {
        throw utils::exceptions::setting_invalid{text, key};
    }
    return std::string{text};
}

secure_string kind_securestring::parse(std::string_view key, std::string_view text) const {
    check_length(key, text, max_length);
    return secure_string{text};
}

} // namespace tarvik::monitoring_modules::libzunohelper
