// The configuration of `serve`, as people write it.

#include "exporter/configuration.hpp"

#include "tests/fuzz/doors.hpp"
#include "tests/fuzz/own_module.hpp"
#include <sys/stat.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace tarvik::monitoring_modules::fuzz {

namespace {

class folder {
  public:
    folder() {
        std::string name = std::filesystem::temp_directory_path() / "opcua-fuzz-XXXXXX";
        path_ = mkdtemp(name.data());
        std::ofstream{path_ / "secret"} << "secret\n";
        chmod((path_ / "secret").c_str(), S_IRUSR);
    }
    ~folder() { std::filesystem::remove_all(path_); }
    folder(const folder&) = delete;
    folder& operator=(const folder&) = delete;

    [[nodiscard]] std::string write(std::string_view text) const {
        const std::filesystem::path file = path_ / "probe.yaml";
        std::ofstream{file, std::ios::binary} << text;
        chmod(file.c_str(), S_IRUSR | S_IWUSR);
        return file;
    }

  private:
    std::filesystem::path path_;
};

} // namespace

void configuration(std::string_view input) {
    static const folder files;
    static const probe::module_document document{
        probe::monitoring_module{own_library()}.information(false)};
    tolerate([&] {
        const probe::config_reading read = probe::read_config(files.write(input), document);
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
