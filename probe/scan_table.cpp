#include "probe/scan_table.hpp"

#include "terminal/table.hpp"
#include "text/terminal_text.hpp"

namespace tarvik::monitoring_modules::probe {

namespace {

// Columns that texts from outside may take.
constexpr std::size_t title_columns = 120;
constexpr std::size_t message_columns = 400;
constexpr std::size_t channel_columns = 40;
constexpr std::size_t value_columns = 32;
constexpr std::size_t unit_columns = 16;

[[nodiscard]] std::string status_line(const scan_result& result, bool colours) {
    std::string line = result.state == scan_state::ok ? painted("OK", colour::green, colours)
                       : result.state == scan_state::warning
                           ? painted("WARNING", colour::yellow, colours)
                           : painted("ERROR", colour::red, colours);
    if (!result.text.empty() && result.text != "OK") {
        line += ": " + fit(result.text, message_columns);
    }
    if (result.error_code != 0) {
        line += " (error code " + std::to_string(result.error_code) + ")";
    }
    return line;
}

} // namespace

std::string render_scan(
    std::string_view title,
    const scan_result& result,
    const std::vector<channel_view>& channels,
    bool colours
) {
    table lines{
        {{"id", alignment::right},
         {"channel", alignment::left},
         {"value", alignment::right},
         {"", alignment::left, 1},
         {"state", alignment::left},
         {"raw", alignment::right}}};
    for (const channel_view& channel : channels) {
        const bool stateless = channel.state == channel_state::none;
        lines.add_row(
            {{std::to_string(channel.id), colour::dim},
             {fit(channel.name, channel_columns)},
             {fit(channel.value.number, value_columns), colour::bold},
             {fit(channel.value.unit, unit_columns)},
             {stateless ? "" : std::string{name_of(channel.state)}, paint_of(channel.state)},
             {channel.raw_is_shown ? "" : format_number(channel.raw), colour::dim}}
        );
    }
    return painted(fit(title, title_columns), colour::bold, colours) + "\n" +
           status_line(result, colours) + "\n" + lines.render(colours);
}

} // namespace tarvik::monitoring_modules::probe
