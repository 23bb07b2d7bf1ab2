#pragma once
// What a server offers, as tables and as JSON.

#include "probe/address_space/endpoint_reading.hpp"

#include <chrono>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// @return a row for each endpoint, then each certificate with its lines
[[nodiscard]] std::string
offer_text(const offer& shown, std::chrono::system_clock::time_point now, bool colours);

/// @return one JSON object in each line: the endpoints, then the certificates
[[nodiscard]] std::string offer_json(const offer& shown, std::chrono::system_clock::time_point now);

} // namespace tarvik::monitoring_modules::probe
