#pragma once

// Fills message templates with numbered placeholders, so that a translation may reorder its
// arguments.
//
// A template knows three marks, found from left to right:
//   "%" digits ":s"  the argument with that zero-based index; leading zeros are allowed;
//   "%%"             a literal percent sign;
//   any other "%"    is malformed.
// Inserted arguments are never scanned again. A placeholder may occur any number of times, in any
// order; arguments that no placeholder names are ignored.

#include "common/libexception/exception.hpp"

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libstringutils {

namespace exceptions {

/// Base of the two errors of `format`; never thrown itself.
class exception : public libexception::_exception<libexception::exception> {
    using _exception::_exception;
};

/// A "%" that is neither a placeholder nor "%%".
class format_string_error : public libexception::_exception<exception> {
    using _exception::_exception;
};

/// A placeholder whose index is not below the number of arguments.
class placeholder_index_not_in_arguments : public libexception::_exception<exception> {
    using _exception::_exception;
};

} // namespace exceptions

/// `format` for arguments that are already gathered; same result and errors.
[[nodiscard]] std::string
format_arguments(std::string_view format_string, std::span<const std::string_view> arguments);

/// Fills a template.
/// @param arguments texts (owned or zero-terminated); callers turn numbers into decimal text first.
/// @return the filled text; the empty template gives an empty text.
/// @throws exceptions::format_string_error "Malformed placeholder in format string."
/// @throws exceptions::placeholder_index_not_in_arguments "Index N is too high for argument list.",
/// N as written.
/// @throws std::out_of_range ("stol") when an index exceeds a signed 64-bit number.
template <typename... Texts>
[[nodiscard]] std::string format(std::string_view format_string, const Texts&... arguments) {
    const std::array<std::string_view, sizeof...(Texts)> gathered{std::string_view{arguments}...};
    return format_arguments(format_string, gathered);
}

/// How many arguments a well-formed template needs: its highest placeholder index plus one; 0
/// without placeholders. For templates known at compile time.
[[nodiscard]] constexpr std::size_t argument_count(std::string_view format_string) {
    constexpr auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t count = 0;
    for (std::size_t i = 0; i < format_string.size(); ++i) {
        if (format_string[i] != '%') {
            continue;
        }
        std::size_t index = 0;
        for (++i; i < format_string.size() && is_digit(format_string[i]); ++i) {
            index = index * 10 + static_cast<std::size_t>(format_string[i] - '0');
        }
        if (i < format_string.size() && format_string[i] == ':') {
            count = index + 1 > count ? index + 1 : count;
        }
    }
    return count;
}

} // namespace tarvik::monitoring_modules::libstringutils
