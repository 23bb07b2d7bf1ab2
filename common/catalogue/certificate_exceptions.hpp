#pragma once

// The errors of the certificate library. `exceptions::x` has the key "certificate_helper.error.x";
// its constructor takes the argument texts that its template in certificate_helper.inc names, in
// that order.

#include "common/catalogue/keyed_exception.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper::exceptions {

/// Base of the errors of certificates, keys and revocation lists.
class exception : public libi18n::_i18n_exception<libi18n::error_generic> {
    using _i18n_exception::_i18n_exception;
};

/// Base of the errors of trust stores.
class certificate_validator_exception : public libi18n::_i18n_exception<libi18n::error_generic> {
    using _i18n_exception::_i18n_exception;
};

#define CATALOGUE_TEXT(name, text)
#define CATALOGUE_ERROR(name, base, text)                                                          \
    CATALOGUE_DEFINE_EXCEPTION(                                                                    \
        name, libi18n::_i18n_exception<base>, catalogue::certificate_helper::name                  \
    )
#include "common/catalogue/certificate_helper.inc"
#undef CATALOGUE_ERROR
#undef CATALOGUE_TEXT

} // namespace tarvik::monitoring_modules::libcertificatehelper::exceptions
