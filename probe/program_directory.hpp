#pragma once
// Where this program lies: what belongs to it lies beside it.

#include <filesystem>

namespace tarvik::monitoring_modules::probe {

/// @throws std::filesystem::filesystem_error where /proc is not mounted
[[nodiscard]] inline std::filesystem::path program_directory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

} // namespace tarvik::monitoring_modules::probe
