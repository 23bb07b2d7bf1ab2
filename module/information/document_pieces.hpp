#pragma once

// The text of the module information document as the build makes it: generate.py writes the source
// file that defines these. Pieces, because compilers need not take long literals; joined
// in order they are JSON.

#include <span>
#include <string_view>

namespace tarvik::monitoring_modules::information {

/// The document without its member "Text" and without its last brace.
[[nodiscard]] std::span<const std::string_view> document_head() noexcept;

/// The member "Text".
[[nodiscard]] std::span<const std::string_view> document_texts() noexcept;

} // namespace tarvik::monitoring_modules::information
