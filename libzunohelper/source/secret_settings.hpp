#pragma once

// What logs and messages may show of settings that are, or may hold, secrets.

#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::libzunohelper::secret_settings {

/// What stands in the place of a secret.
inline constexpr std::string_view mask = "*****";

/// @param key dotted.
/// @return the key, ending in the mask below a secret: who puts an object where a password belongs
/// may have made the password a key of it.
[[nodiscard]] std::string shown_key(std::string_view key);

/// @param key dotted.
/// @return the text, or the mask for one that is not empty and stands at or below a secret, or in
/// the place of a certificate but holds something else, such as a private key as well.
[[nodiscard]] std::string_view shown_text(std::string_view key, std::string_view text);

} // namespace tarvik::monitoring_modules::libzunohelper::secret_settings
