#pragma once
// What the configuration asks for.

#include "exporter/http/http_server.hpp"
#include "exporter/scan_module.hpp"
#include "host/module_document.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct serve_config {
    http_settings listen;     ///< on 127.0.0.1:9840, unless it says otherwise
    std::string pki;          ///< folder of certificates; empty: the usual one
    std::size_t workers = 64; ///< most scans at one time; half of them for requests
    std::map<std::string, scan_module> modules;
    std::vector<sensor_plan> sensors;

    /// Requests have half of the threads that scan, so that intervals are kept whatever is asked.
    [[nodiscard]] std::size_t requested_scans() const noexcept { return workers / 2; }
};

/// @return whether a client of these modules takes the module's generated key pair
[[nodiscard]] bool takes_generated_key_pair(const serve_config& config);

/// What came of reading a configuration. Lines name file, line and place, hold no secret, and stand
/// in the order of the files and their lines.
struct config_reading {
    std::shared_ptr<const serve_config> config; ///< null when there are mistakes
    std::vector<std::string> mistakes;          ///< the first ones, and how many more there are
    std::vector<std::string> warnings;
};

/// Settings are checked against what the module tells about itself.
/// @throws probe_error (usage) when the file itself cannot be read
[[nodiscard]] config_reading read_config(const std::string& path, const module_document& document);

} // namespace tarvik::monitoring_modules::probe
