#pragma once

// The errors of the OPC UA code. `exceptions::x` has the key "error.x"; its constructor takes the
// argument texts that its template in opcua.inc names, in that order.

#include "common/catalogue/keyed_exception.hpp"

namespace tarvik::monitoring_modules::opcua::exceptions {

/// Base of all errors of the OPC UA code.
class opcua_failure : public libi18n::_i18n_exception<libi18n::i18n_exception> {
    using _i18n_exception::_i18n_exception;
};

#define CATALOGUE_TEXT(name, text)
#define CATALOGUE_KEY(name, suffix, text)
#define CATALOGUE_ERROR(name, base, text)                                                          \
    CATALOGUE_DEFINE_EXCEPTION(name, libi18n::_i18n_exception<base>, catalogue::opcua::name)
#include "common/catalogue/opcua.inc"
#undef CATALOGUE_ERROR
#undef CATALOGUE_KEY
#undef CATALOGUE_TEXT

} // namespace tarvik::monitoring_modules::opcua::exceptions
