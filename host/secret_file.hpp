#pragma once
// Files that the command line names, which may hold secrets.

#include <cstddef>
#include <functional>
#include <string>

namespace tarvik::monitoring_modules::probe {

/// Gets warnings for whoever called the program; may be empty.
using warning_receiver = std::function<void(const std::string& text)>;

inline constexpr std::size_t most_file_mebibytes = 1;

/// @throws probe_error (usage) when the file cannot be read or is larger than so many MiB
[[nodiscard]] std::string
read_file(const std::string& path, std::size_t most_mebibytes = most_file_mebibytes);

/// @return whether every user of the machine can read it
[[nodiscard]] bool is_open_to_all(const std::string& path);

/// @return "opcua-probe: warning: everybody can read the secret in PATH"
[[nodiscard]] std::string open_secret_warning(const std::string& path);

/// Editors end a file with a line end; it is no part of a secret of one line.
[[nodiscard]] std::string without_line_end(std::string text);

} // namespace tarvik::monitoring_modules::probe
