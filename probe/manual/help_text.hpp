#pragma once
// The texts below the options of a help page, taken apart: sections, paragraphs, lists and what is
// shown as typed.

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tarvik::monitoring_modules::probe {

struct help_paragraph {
    std::string text; ///< one line
    bool operator==(const help_paragraph&) const = default;
};

/// "0   ok"
struct help_entry {
    std::string tag;
    std::string text; ///< one line
    bool operator==(const help_entry&) const = default;
};

/// Commands to type, a file to write.
struct help_example {
    std::vector<std::string> lines;
    bool operator==(const help_example&) const = default;
};

using help_block = std::variant<help_paragraph, help_entry, help_example>;

struct help_section {
    std::string title; ///< without the colon; empty: what stands before the first title
    std::vector<help_block> blocks;
};

/// A title is a line of up to three words and a colon, with an indented line below. Indented lines
/// with two blanks inside are entries of a list; those below "Example", "Examples" and
/// "Configuration", and those that are indented further, stay as they are; all others are
/// paragraphs.
[[nodiscard]] std::vector<help_section> parse_help(std::string_view footer);

} // namespace tarvik::monitoring_modules::probe
