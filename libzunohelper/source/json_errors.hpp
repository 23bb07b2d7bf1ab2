#pragma once

// Errors of JSON that is no JSON. They tell where, never what: the bytes may hold secrets.

#include <cstddef>

namespace tarvik::monitoring_modules::libzunohelper {

/// @param byte counted from 1.
/// @throws libjsonparser::exceptions::parse always.
[[noreturn]] void throw_syntax_error(std::size_t byte);

} // namespace tarvik::monitoring_modules::libzunohelper
