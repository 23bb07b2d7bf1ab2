#pragma once

// A folder for files that nobody else may read, gone with the process.

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::fuzz {

class temporary_folder {
  public:
    temporary_folder() {
        std::string name = std::filesystem::temp_directory_path() / "opcua-fuzz-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~temporary_folder() { std::filesystem::remove_all(path_); }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    /// @return its path
    [[nodiscard]] std::string write(const std::string& name, std::string_view text) const {
        const std::filesystem::path file = path_ / name;
        std::ofstream{file, std::ios::binary} << text;
        chmod(file.c_str(), S_IRUSR | S_IWUSR);
        return file;
    }

  private:
    std::filesystem::path path_;
};

} // namespace tarvik::monitoring_modules::fuzz
