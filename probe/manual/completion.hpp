#pragma once
// What bash offers for the arguments of a program when its user presses the tab key.

#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// @param kinds of sensors: what arguments of the type KIND may be
/// @return a file for bash; needs bash 4.4 and nothing else
[[nodiscard]] std::string
bash_completion(const CLI::App& program, const std::vector<std::string>& kinds);

} // namespace tarvik::monitoring_modules::probe
