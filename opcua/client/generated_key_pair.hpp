#pragma once

// The self-signed certificate and private key that a client uses when its settings bring none:
// needed even without channel security, because servers ask for passwords encrypted with a policy
// of their own.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/secure_string.hpp"

#include <string>

namespace tarvik::monitoring_modules::opcua {

/// Wiped when it is destroyed.
struct generated_key_pair {
    std::string certificate;                  ///< PEM, RSA 4096, valid for 365 days
    libzunohelper::secure_string private_key; ///< PEM
};

/// A copy of the process's key pair. It is made on first need, which costs 0.1 to 3 s of CPU;
/// whoever asks meanwhile waits for it. A failure is not remembered: the next who asks tries again.
/// @throws exceptions::opcua_request_failed with the status name.
[[nodiscard]] generated_key_pair copy_generated_key_pair(liblog::log_interface& log);

} // namespace tarvik::monitoring_modules::opcua
