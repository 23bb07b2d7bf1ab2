#include "exporter/config_files.hpp"

#include "host/secret_file.hpp"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_mebibytes = 16; // which hold 100 000 sensors
constexpr std::size_t most_files = 1'000;

class file_reader final {
  public:
    explicit file_reader(config_report& report) : report_{report} {}

    [[nodiscard]] config_files read(const std::string& path) {
        read_file_at(path);
        if (!result_.files.empty()) {
            const config_file main = result_.files.front();
            result_.complete &= main.root.attempt([&] {
                if (const auto include = main.root.find("include")) {
                    read_included(*include, main.values);
                }
            });
        }
        return std::move(result_);
    }

  private:
    void read_file_at(const std::string& path) {
        const std::string text = read_file(path, most_mebibytes);
        seen_.insert(fs::weakly_canonical(path));
        const bool is_main = seen_.size() == 1;
        const auto root = yaml_value::parse(text, report_, report_.add_file(path));
        const bool usable = root && root->is_mapping();
        if (usable) {
            result_.files.push_back({*root, value_source{path}});
        } else if (root && (is_main || !root->is_null())) { // an included one may be empty
            root->mistake("expected a mapping with modules and sensors");
        }
        result_.complete &= usable || (root && root->is_null());
    }

    void read_included(const yaml_value& include, const value_source& values) {
        const auto places = include.is_sequence() ? include.items() : std::vector{include};
        for (const yaml_value& place : places) {
            result_.complete &= place.attempt([&] {
                for (const std::string& path : paths_of(place, values.path(place.text()))) {
                    read_one(place, path);
                }
            });
        }
    }

    void read_one(const yaml_value& place, const std::string& path) {
        if (seen_.contains(fs::weakly_canonical(path))) {
            place.fail(path + " is read already");
        }
        if (seen_.size() > most_files) {
            place.fail("these are more than " + std::to_string(most_files) + " files");
        }
        result_.complete &= place.attempt([&] { read_file_at(path); });
    }

    /// @return the file, or those of the folder
    [[nodiscard]] static std::vector<std::string>
    paths_of(const yaml_value& place, const std::string& path) {
        std::error_code problem;
        if (!fs::is_directory(path, problem)) {
            return {path};
        }
        std::vector<std::string> paths;
        for (fs::directory_iterator entry{path, problem};
             !problem && entry != fs::directory_iterator{};
             entry.increment(problem)) {
            const fs::path& file = entry->path();
            const bool hidden = file.filename().string().starts_with('.'); // an editor's own
            if (!hidden && file.extension() == ".yaml") {
                paths.push_back(file.string());
            } else if (!hidden && file.extension() == ".yml") {
                place.warn(file.string() + " is not read: names end in .yaml");
            }
        }
        if (problem) {
            place.fail(path + ": " + problem.message());
        }
        std::ranges::sort(paths);
        return paths;
    }

    config_report& report_;
    config_files result_;
    std::set<fs::path> seen_;
};

} // namespace

config_files read_config_files(const std::string& path, config_report& report) {
    return file_reader{report}.read(path);
}

} // namespace tarvik::monitoring_modules::probe
