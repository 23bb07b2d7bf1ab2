#pragma once

// The errors of the framework library. `exceptions::x` has the key "libzunohelper.error.x" (or
// "libjsonparser.error.x" for JSON); its constructor takes the argument texts that its template in
// libzunohelper.inc names, in that order.

#include "common/catalogue/keyed_exception.hpp"

namespace tarvik::monitoring_modules::libzunohelper::utils::exceptions {

/// Base of all errors of the framework.
class exception : public libi18n::_i18n_exception<libi18n::i18n_exception> {
    using _i18n_exception::_i18n_exception;
};

#define CATALOGUE_TEXT(name, text)
#define CATALOGUE_ERROR_AS(name, base, suffix, text)                                               \
    CATALOGUE_DEFINE_EXCEPTION(name, libi18n::_i18n_exception<base>, catalogue::libzunohelper::name)
#define CATALOGUE_ERROR(name, base, text) CATALOGUE_ERROR_AS(name, base, name, text)
#define CATALOGUE_DIRECT_ERROR(name, text)                                                         \
    CATALOGUE_DEFINE_EXCEPTION(name, libi18n::i18n_exception, catalogue::libzunohelper::name)
#include "common/catalogue/libzunohelper.inc"
#undef CATALOGUE_DIRECT_ERROR
#undef CATALOGUE_ERROR
#undef CATALOGUE_ERROR_AS
#undef CATALOGUE_TEXT

} // namespace tarvik::monitoring_modules::libzunohelper::utils::exceptions

namespace tarvik::monitoring_modules::libjsonparser::exceptions {

/// Base of all errors of reading JSON.
class exception : public libi18n::_i18n_exception<libi18n::i18n_exception> {
    using _i18n_exception::_i18n_exception;
};

#define CATALOGUE_TEXT(name, text)
#define CATALOGUE_ERROR(name, base, text)                                                          \
    CATALOGUE_DEFINE_EXCEPTION(name, libi18n::_i18n_exception<base>, catalogue::libjsonparser::name)
#include "common/catalogue/libjsonparser.inc"
#undef CATALOGUE_ERROR
#undef CATALOGUE_TEXT

} // namespace tarvik::monitoring_modules::libjsonparser::exceptions
