#pragma once

// The self-signed certificate and private key that a client uses when its settings bring none:
// needed even without channel security, because servers ask for passwords encrypted with a policy
// of their own.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/kept_key_pair.hpp"
#include "zunohelper/secure_string.hpp"

#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace tarvik::monitoring_modules::opcua {

/// A key pair that is got once, on first need, and handed out as copies. Whoever asks while it is
/// being got waits for it. A failure is not remembered: the next who asks tries again. Any thread
/// may ask.
class shared_key_pair {
  public:
    using source = std::function<generated_key_pair(liblog::log_interface&)>;

    explicit shared_key_pair(source get) : get_{std::move(get)} {}

    /// @throws what the source throws.
    [[nodiscard]] generated_key_pair copy(liblog::log_interface& log);

  private:
    source get_;
    std::mutex mutex_;
    std::optional<generated_key_pair> pair_; // guarded by mutex_
};

/// Makes a pair, valid for 365 days, as hosts keep it; costs 0.1 to 7 s of CPU.
/// @throws exceptions::opcua_request_failed with the status name.
[[nodiscard]] libzunohelper::secure_string make_key_pair(liblog::log_interface& log);

/// The pair that the host keeps, if it is usable; otherwise one newly made, for the host to keep.
/// @param make as make_key_pair.
/// @throws what make throws.
/// @throws exceptions::opcua_request_failed when what was made is not usable.
[[nodiscard]] generated_key_pair stored_or_made_key_pair(
    liblog::log_interface& log,
    const std::function<libzunohelper::secure_string(liblog::log_interface&)>& make
);

/// A copy of the process's key pair, which stored_or_made_key_pair brings at the first need.
/// @throws exceptions::opcua_request_failed with the status name.
[[nodiscard]] generated_key_pair copy_generated_key_pair(liblog::log_interface& log);

} // namespace tarvik::monitoring_modules::opcua
