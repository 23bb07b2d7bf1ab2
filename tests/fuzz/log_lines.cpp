// Log lines and texts of the module on their way to a terminal. Lines: the severity's digit, the
// text.

#include "host/log.hpp"
#include "tests/fuzz/doors.hpp"
#include "text/terminal_text.hpp"

#include <algorithm>
#include <string>

namespace tarvik::monitoring_modules::fuzz {

namespace {

/// What a terminal gets has no characters but those that it shows.
void check_shown(std::string_view text) {
    require(probe::is_utf8(text), "what is shown is UTF-8");
    const auto controls = [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7f;
    };
    require(std::ranges::none_of(text, controls), "what is shown controls nothing");
}

} // namespace

void log_lines(std::string_view input) {
    probe::kept_lines kept;
    input_parts lines{input};
    while (!lines.empty()) {
        const auto severity = static_cast<std::int32_t>(lines.number()) - '0';
        const std::string text{lines.until('\n')};
        kept.add(probe::log_line{"sensor 7", severity, text});
        kept.add(probe::module_event{severity, text});
        for (const std::size_t columns : {std::size_t{1}, std::size_t{7}}) {
            const std::string fitted = probe::fit(text, columns);
            check_shown(fitted);
            require(probe::display_width(fitted) <= columns, "a text is cut to its columns");
        }
    }
    std::size_t bytes = 0;
    for (const probe::log_line& line : probe::lines_of(kept.take())) {
        bytes += line.text.size();
        check_shown(probe::sanitise(probe::to_text(line)));
    }
    require(bytes <= 2 * probe::kept_lines::most_bytes, "what is kept has bounds");
    require(probe::limited(input, 100).size() <= 103, "what is limited has bounds");
    static_cast<void>(probe::is_utf8(input));
}

} // namespace tarvik::monitoring_modules::fuzz
