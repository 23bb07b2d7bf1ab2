#pragma once
// The manual pages of a program: one of its own and one for each of its commands.

#include "probe/manual/help_text.hpp"

#include <string>
#include <string_view>
#include <vector>

#include <CLI/App.hpp>

namespace tarvik::monitoring_modules::probe {

/// What the command line does not tell: a section of one page.
struct added_section {
    std::string page; ///< "opcua-probe-scan"
    help_section section;
};

struct manual {
    std::string source; ///< what stands at the foot: the program and its version
    std::string title;  ///< what stands at the head
    std::vector<added_section> added;
    std::vector<std::string> programs; ///< with pages of their own, for SEE ALSO
};

struct man_page {
    std::string name; ///< "opcua-probe-scan"
    std::string text; ///< roff, ASCII
};

/// @throws std::logic_error for an option without a text
[[nodiscard]] std::vector<man_page> man_pages_of(const CLI::App& program, const manual& about);

} // namespace tarvik::monitoring_modules::probe
