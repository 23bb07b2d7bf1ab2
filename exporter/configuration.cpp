#include "exporter/configuration.hpp"

#include "exporter/config_files.hpp"
#include "exporter/listen_settings.hpp"
#include "exporter/sensor_reader.hpp"
#include "host/settings_record.hpp"

#include <algorithm>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t spare_threads = 8; // of the web server, when all others wait for scans

/// Reads what only the main file has.
void read_service(const config_file& main, serve_config& config) {
    const auto& [root, values] = main;
    root.allow_only({"listen", "workers", "pki", "include", "defaults", "modules", "sensors"});
    const std::string pki = root.text_of("pki", "");
    config.pki = pki.empty() ? "" : values.path(pki);
    root.attempt([&, &node = root, &source = values] {
        if (const auto listen = node.find("listen")) {
            config.listen = read_listen(*listen, source);
        }
    });
    config.workers = static_cast<std::size_t>(root.integer_of("workers", 2, 256, 64));
    config.listen.threads = config.requested_scans() + spare_threads;
}

void read_included(const config_file& file) {
    for (const char* name : {"listen", "workers", "pki", "include"}) {
        if (const auto found = file.root.find(name)) {
            found->mistake("only the main file has this");
        }
    }
    file.root.allow_only({"listen", "workers", "pki", "include", "defaults", "modules", "sensors"});
}

} // namespace

config_reading read_config(const std::string& path, const module_document& document) {
    config_report report;
    auto [files, complete] = read_config_files(path, report);
    const auto config = std::make_shared<serve_config>();
    config->listen.port = usual_http_port;
    std::vector<config_defaults> defaults;
    for (const config_file& file : files) {
        const bool is_main = defaults.empty();
        is_main ? read_service(file, *config) : read_included(file);
        const config_defaults& outer = is_main ? config_defaults{} : defaults.front();
        defaults.push_back(read_defaults(file.root, file.values, document, outer));
    }
    module_reader modules{document, pki_folder{pki_path(config->pki)}, complete};
    for (std::size_t i = 0; i < files.size(); ++i) {
        modules.read(files[i], defaults[i]);
    }
    sensor_reader sensors{modules};
    for (std::size_t i = 0; i < files.size(); ++i) {
        sensors.read(files[i], defaults[i]);
    }
    config->sensors = sensors.take();
    for (const auto& [name, module] : modules.modules()) {
        if (module.usable) {
            config->modules.emplace(name, *module.usable);
        }
    }
    const bool usable = report.mistakes_so_far() == 0;
    return {usable ? config : nullptr, report.mistakes(), report.warnings()};
}

bool takes_generated_key_pair(const serve_config& config) {
    return std::ranges::any_of(config.modules, [](const auto& each) {
        return takes_generated_key_pair(each.second.settings);
    });
}

} // namespace tarvik::monitoring_modules::probe
