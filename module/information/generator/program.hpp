#pragma once

// What the programs of this folder have in common: they read the sources of the module information
// and write one file.

#include "module/information/generator/document_builder.hpp"
#include "module/information/generator/text_table.hpp"

#include <functional>
#include <ostream>
#include <span>

#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::information {

struct sources {
    text_table texts;
    nlohmann::ordered_json document; ///< without "Text"
};

/// Runs a program with the arguments FOLDER (with structure.json and texts/) and OUTPUT.
/// @param write writes the output.
/// @return the exit code: 0; 1 when the sources are not in order or the file cannot be written,
/// which standard error explains; 2 for wrong arguments.
[[nodiscard]] int run_generator(
    std::span<char* const> arguments,
    const std::function<void(std::ostream&, const sources&)>& write
) noexcept;

} // namespace tarvik::monitoring_modules::information
