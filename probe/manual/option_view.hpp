#pragma once
// What there is to say about one option of a command line.

#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// How a value is found, for completion.
enum class value_source { none, words, files, hosts };

struct option_view {
    std::vector<std::string> names; ///< "-H", "--host"; of a positional argument: "kind"
    std::string group;
    std::string shape; ///< "HOST", "table|json"; of a flag: empty
    std::string text;  ///< sentences
    bool positional = false;
    bool required = false;
    value_source source = value_source::none;
    std::vector<std::string> words; ///< values, as far as they are fixed

    [[nodiscard]] bool takes_value() const noexcept { return !shape.empty(); }
};

/// @return the options and positional arguments in their order, but for hidden ones
/// @throws std::logic_error for an option without a text
[[nodiscard]] std::vector<option_view> options_of(const CLI::App& command);

/// @return the commands in their order
[[nodiscard]] std::vector<const CLI::App*> commands_of(const CLI::App& program);

} // namespace tarvik::monitoring_modules::probe
