#pragma once

// The one way to obtain a client: equal settings share one.

#include "common/liblog/log_interface.hpp"
#include "opcua/client/client_interface.hpp"
#include "zunohelper/service_container.hpp"

#include <memory>

namespace tarvik::monitoring_modules::opcua {

/// The living client for equal settings, or a new one, which does not connect yet. The cache holds
/// no client alive: it ends with its last owner.
/// @param log gets a line on success (debug) or failure (error); may be null.
/// @throws factory_not_available; whatever the making of a client throws.
[[nodiscard]] std::shared_ptr<client_interface> get_opcua_client(
    libzunohelper::service_container& container,
    const client_settings& settings,
    liblog::log_interface* log
);

} // namespace tarvik::monitoring_modules::opcua
