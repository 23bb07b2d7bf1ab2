#pragma once
// OPC UA status codes by their names.

#include "host/translation.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @param code its lower half, which holds flags, is not looked at
/// @return "BadTimeout"; empty for a good code and for one without a name
[[nodiscard]] std::string_view status_name(std::uint32_t code) noexcept;

/// @param text of people's: numbers in it that are the decimal codes of errors get their names
/// @return "failed (2158755840 = BadConnectionRejected)" of "failed (2158755840)"
[[nodiscard]] std::string with_status_names(std::string_view text);

/// @return a message in the language of the texts; an error with a status has its name, too
[[nodiscard]] std::string
shown_message(const translation& texts, const std::string& identity, const std::string& text);

/// @param identity of an error's message
/// @return the name of the status that it has as an argument, by name or by number; empty: none
[[nodiscard]] std::string status_in(std::string_view identity);

} // namespace tarvik::monitoring_modules::probe
