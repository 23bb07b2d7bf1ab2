#pragma once
// Makes the server's key and certificate at run time, so that none is stored that could leak or
// expire unnoticed.

#include "simulator/plant_options.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace tarvik::simulator {

using der_bytes = std::vector<std::uint8_t>;

struct server_identity {
    der_bytes certificate; ///< X.509, the server's alone
    der_bytes private_key; ///< PKCS#1; for the stack only, never shown
};

/// An RSA key of one size is made once for each process (4096 bits take seconds) and used for all
/// its certificates; the test CA has its own.
/// @param application_uri goes into the subject alternative name; without commas
/// @throws plant_error when the options cannot be met
[[nodiscard]] server_identity make_identity(
    const certificate_options& options,
    const std::string& application_uri,
    const std::string& common_name
);

} // namespace tarvik::simulator
