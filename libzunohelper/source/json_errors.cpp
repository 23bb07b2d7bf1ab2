#include "json_errors.hpp"

#include "common/catalogue/framework_exceptions.hpp"

#include <string>

namespace tarvik::monitoring_modules::libzunohelper {

void throw_syntax_error(std::size_t byte) {
    throw libjsonparser::exceptions::parse{"Syntax error at byte " + std::to_string(byte) + "."};
}

} // namespace tarvik::monitoring_modules::libzunohelper
