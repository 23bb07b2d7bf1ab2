#pragma once

// The host's store as modules see it (store.h): named bytes that outlive the process, if the host
// offers to keep them.

#include "zunohelper/export.hpp"
#include "zunohelper/secure_string.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper::host_store {

/// What the host keeps under a name. Any thread may ask.
/// @param name of a-z, 0-9 and "-".
/// @return any bytes, at most 1 MiB; nothing without a store, or when it has nothing or more.
[[nodiscard]] ZUNOHELPER_API std::optional<secure_string> load(const std::string& name);

/// Has the host keep bytes under a name. Any thread may ask.
/// @return false when the host did not keep them; true as well without a store.
ZUNOHELPER_API bool save(const std::string& name, std::string_view bytes);

} // namespace tarvik::monitoring_modules::libzunohelper::host_store
