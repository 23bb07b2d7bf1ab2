#pragma once

// Errors of JSON that is no JSON. They tell where, never what: the bytes may hold secrets.

#include "common/catalogue/framework_exceptions.hpp"

#include <cstddef>
#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

/// @param byte counted from 1.
/// @throws libjsonparser::exceptions::parse always.
[[noreturn]] inline void throw_syntax_error(std::size_t byte) {
    throw libjsonparser::exceptions::parse{"Syntax error at byte " + std::to_string(byte) + "."};
}

} // namespace tarvik::monitoring_modules::libzunohelper
