#pragma once
// What a server offers: its endpoints and their certificates, as JSON and as tables that are made
// of the same members. Texts are the server's: any bytes.

#include "libcertificatehelper/allocator.hpp"
#include "opcua/ua_value.hpp"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

struct offered_endpoint {
    nlohmann::ordered_json json;
    std::optional<std::size_t> certificate; ///< index in the list; nothing: it has none
};

struct offer {
    std::vector<offered_endpoint> endpoints; ///< in the server's order
    /// Each once, in the order of their first use; what cannot be read has a "problem" instead.
    std::vector<nlohmann::ordered_json> certificates;
};

/// @param endpoints as the server sent them: nothing about them is trusted
/// @param now days are counted from it
[[nodiscard]] offer read_offer(
    std::span<const UA_EndpointDescription> endpoints,
    libcertificatehelper::allocator& certificates,
    std::chrono::system_clock::time_point now
);

/// @return a row for each endpoint, then each certificate with its lines
[[nodiscard]] std::string
offer_text(const offer& shown, std::chrono::system_clock::time_point now, bool colours);

/// @return one JSON object in each line: the endpoints, then the certificates
[[nodiscard]] std::string offer_json(const offer& shown);

} // namespace tarvik::monitoring_modules::probe
