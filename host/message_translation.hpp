#pragma once
// The module's messages in another language.

#include "host/translation.hpp"

#include <string>

namespace tarvik::monitoring_modules::probe {

/// @param message one message of the module
/// @return the message; where the language is not English, each of its texts that have an identity
/// has a member "translated" beside them, in the language or, without a translation, in English. No
/// JSON comes back as it is.
[[nodiscard]] std::string with_translations(const std::string& message, const translation& texts);

} // namespace tarvik::monitoring_modules::probe
