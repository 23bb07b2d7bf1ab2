#pragma once
// Configurations of `serve` in a folder of their own, and what comes of reading them.

#include "exporter/configuration.hpp"
#include "tests/host/made_up_document.hpp"
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

class probe_yaml : public testing::Test {
  protected:
    probe_yaml() {
        std::string name = testing::TempDir() + "serve-XXXXXX";
        folder_ = mkdtemp(name.data());
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string
    write(const std::string& name, const std::string& text, mode_t mode = 0600) const {
        std::string path = folder_ + "/" + name;
        std::ofstream{path} << text;
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    /// @return what came of it, paths without the folder
    config_reading reading(const std::string& text, mode_t mode = 0600) {
        config_reading made = read_config(write("probe.yaml", text, mode), document_);
        for (auto* const lines : {&made.mistakes, &made.warnings}) {
            for (std::string& line : *lines) {
                for (std::size_t at = 0; (at = line.find(folder_ + "/")) != std::string::npos;) {
                    line.erase(at, folder_.size() + 1);
                }
            }
        }
        return made;
    }
    serve_config read(const std::string& text, mode_t mode = 0600) {
        const config_reading made = reading(text, mode);
        EXPECT_THAT(made.mistakes, testing::IsEmpty()) << text;
        return made.config == nullptr ? serve_config{} : *made.config;
    }
    void expect_mistake(const std::string& text, const std::string& part, mode_t mode = 0600) {
        const config_reading made = reading(text, mode);
        EXPECT_THAT(made.mistakes, testing::ElementsAre(testing::HasSubstr(part))) << text;
        EXPECT_EQ(made.config, nullptr);
    }

    std::string folder_;
    module_document document_{made_up_document};
};

} // namespace tarvik::monitoring_modules::probe
