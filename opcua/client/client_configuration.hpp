#pragma once

// From client settings to a client of the stack that is ready to connect.

#include "common/liblog/log_interface.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "opcua/client/client_settings.hpp"
#include "opcua/client/generated_key_pair.hpp"
#include "opcua/ua_client.hpp"

#include <chrono>
#include <memory>
#include <optional>

namespace tarvik::monitoring_modules::opcua {

/// The time-out as the stack counts it: seconds times 1000 in 32-bit arithmetic.
[[nodiscard]] std::chrono::milliseconds time_out_of(const client_settings& settings) noexcept;

/// A fresh client with security, identity, application description and time-out; not connected. The
/// server's certificate is accepted without verification.
/// @param certificates reads the client certificate and key of the settings.
/// @param own_pair the caller's copy of the generated key pair; filled when it is needed and empty.
/// @param log gets what the client does, at info and debug level; must outlive the client.
/// @throws exceptions::opcua_request_failed with the status name when the encryption cannot be set
/// up.
[[nodiscard]] std::unique_ptr<ua_client> make_configured_client(
    const client_settings& settings,
    libcertificatehelper::allocator& certificates,
    std::optional<generated_key_pair>& own_pair,
    liblog::log_interface& log
);

} // namespace tarvik::monitoring_modules::opcua
