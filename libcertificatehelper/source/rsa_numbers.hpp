#pragma once

// Whether an RSA private key is whole. Readers of keys take numbers that do not fit each other; who
// uses them fails later, or yields nonsense.

#include "libcertificatehelper/source/owners.hpp"

namespace tarvik::monitoring_modules::libcertificatehelper {

/// Compares modulus, exponents, both factors and what was derived from them (RFC 8017, 3.2). Costs
/// some microseconds, because it does not test for primes.
/// @return false as well for a key of another kind or without its factors.
[[nodiscard]] bool has_whole_rsa_numbers(const EVP_PKEY& key);

} // namespace tarvik::monitoring_modules::libcertificatehelper
