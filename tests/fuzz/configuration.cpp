// The configuration of `serve`, as people write it.

#include "exporter/configuration.hpp"

#include "tests/fuzz/doors.hpp"
#include "tests/fuzz/own_module.hpp"
#include "tests/fuzz/temporary_folder.hpp"

#include <string>

namespace tarvik::monitoring_modules::fuzz {

void configuration(std::string_view input) {
    static const temporary_folder files;
    static const std::string secret = files.write("secret", "secret\n");
    static const probe::module_document document{
        probe::monitoring_module{own_library()}.information(false)};
    tolerate([&] {
        const probe::config_reading read =
            probe::read_config(files.write("probe.yaml", input), document);
        require(
            (read.config == nullptr) != read.mistakes.empty(), "what is unusable has a mistake"
        );
        if (read.config == nullptr) {
            return;
        }
        const probe::serve_config& config = *read.config;
        for (const probe::sensor_plan& plan : config.sensors) {
            require(!plan.name.empty(), "a sensor has a name");
            require(plan.interval >= std::chrono::milliseconds{100}, "intervals have a limit");
        }
        require(config.workers >= 2, "somebody works");
    });
}

} // namespace tarvik::monitoring_modules::fuzz
