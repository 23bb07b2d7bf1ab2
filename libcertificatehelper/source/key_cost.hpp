#pragma once

// A bound on how long an encrypted key may keep us busy: the file itself says how often its
// password is hashed, and a hostile one says two thousand million times.

#include "libcertificatehelper/bytes.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper {

/// Whether no block of a PEM text demands more than a few seconds of password hashing. Leaves
/// OpenSSL's error queue empty.
/// @param pem of at most INT_MAX bytes.
/// @throws exceptions::bad_alloc
[[nodiscard]] bool has_affordable_key_derivation(byte_view pem);

} // namespace tarvik::monitoring_modules::libcertificatehelper
