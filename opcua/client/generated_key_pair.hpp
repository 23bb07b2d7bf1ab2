#pragma once

// The self-signed certificate and private key that a client uses when its settings bring none:
// needed even without channel security, because servers ask for passwords encrypted with a policy
// of their own.

#include "common/liblog/log_interface.hpp"
#include "zunohelper/secure_string.hpp"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

/// Wiped when it is destroyed.
struct generated_key_pair {
    std::string certificate;                  ///< PEM, RSA 4096, valid for 365 days
    libzunohelper::secure_string private_key; ///< PEM
};

/// A key pair that is made once, on first need, and handed out as copies. Whoever asks while it is
/// being made waits for it. A failure is not remembered: the next who asks tries again. Any thread
/// may ask.
class shared_key_pair {
  public:
    using maker = std::function<generated_key_pair(liblog::log_interface&)>;

    explicit shared_key_pair(maker make) : make_{std::move(make)} {}

    /// @throws what the maker throws.
    [[nodiscard]] generated_key_pair copy(liblog::log_interface& log);

  private:
    maker make_;
    std::mutex mutex_;
    std::optional<generated_key_pair> pair_; // guarded by mutex_
};

/// A copy of the process's key pair; making it costs 0.1 to 3 s of CPU.
/// @throws exceptions::opcua_request_failed with the status name.
[[nodiscard]] generated_key_pair copy_generated_key_pair(liblog::log_interface& log);

} // namespace tarvik::monitoring_modules::opcua
