#include "probe/scan_command.hpp"

#include "host/hint.hpp"
#include "host/message_json.hpp"
#include "probe/commands.hpp"
#include "probe/sensor_run.hpp"
#include "text/terminal_text.hpp"

#include <chrono>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

// Columns that texts from outside may take.
constexpr std::size_t title_columns = 120;
constexpr std::size_t message_columns = 400;
constexpr std::size_t channel_columns = 40;
constexpr std::size_t value_columns = 32;
constexpr std::size_t unit_columns = 16;

/// What becomes of a state.
struct outcome {
    const char* word;
    colour paint;
    exit_code code;
};

[[nodiscard]] outcome outcome_of(scan_state state) {
    constexpr std::array outcomes{
        outcome{"OK", colour::green, exit_code::ok},
        outcome{"WARNING", colour::yellow, exit_code::warning},
        outcome{"ERROR", colour::red, exit_code::error}};
    return outcomes.at(static_cast<std::size_t>(state));
}

[[nodiscard]] std::string status_line(const scan_result& result, bool colours) {
    const outcome shown = outcome_of(result.state);
    std::string line = painted(shown.word, shown.paint, colours);
    if (!result.text.empty() && result.text != "OK") {
        line += ": " + fit(result.text, message_columns);
    }
    if (result.error_code != 0) {
        line += " (error code " + std::to_string(result.error_code) + ")";
    }
    return line;
}

/// @param scan counts from 1
[[nodiscard]] std::string
title(const scan_options& options, const module_document& document, std::size_t scan) {
    std::string text = document.sensor_name(options.kind) + " at " + address_of(options.connection);
    if (options.count != 1U) {
        text += ", scan " + std::to_string(scan);
    }
    if (options.count > 1U) {
        text += " of " + std::to_string(*options.count);
    }
    return text;
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
        const bool stateless = channel.verdict.state == channel_state::none;
        lines.add_row(
            {{std::to_string(channel.id), colour::dim},
             {fit(channel.name, channel_columns)},
             {fit(channel.value.number, value_columns), colour::bold},
             {fit(channel.value.unit, unit_columns)},
             {stateless ? "" : std::string{name_of(channel.verdict.state)},
              paint_of(channel.verdict.state)},
             {channel.raw_is_shown ? "" : format_number(channel.raw), colour::dim}}
        );
    }
    return painted(fit(title, title_columns), colour::bold, colours) + "\n" +
           status_line(result, colours) + "\n" +
           (result.hint.empty() ? "" : fit(result.hint, message_columns) + "\n") +
           lines.render(colours);
}

exit_code
run(const command_context& context,
    loaded_module& loaded,
    const scan_options& options,
    const settings_draft& draft) {
    channel_memory memory{loaded.document};
    std::size_t shown = 0;
    exit_code worst = exit_code::ok;
    const bool json = options.format == output_format::json;
    const auto show = [&](std::vector<scan_result> results) {
        for (scan_result& result : results) {
            const auto channels = memory.take(result, clock::now());
            ++shown;
            const std::string refusal = loaded.trust.take_refusal();
            if (!refusal.empty()) {
                result.hint = json ? refusal : ""; // which the person reads below
            } else if (!json) {
                result.hint = labelled_hint(result.hint, loaded.document.texts().language());
            }
            context.out.write(
                json ? scan_json(result, channels, shown)
                     : (shown > 1 ? "\n" : "") + render_scan(
                                                     title(options, loaded.document, shown),
                                                     result,
                                                     channels,
                                                     context.out.colours()
                                                 )
            );
            tell_refusal(context.terminal, refusal);
            worst = worse(worst, outcome_of(result.state).code);
        }
    };
    sensor_run sensor{context.terminal, loaded, options, draft};
    sensor.prepare();
    const std::vector<scan_result> created = sensor.create();
    if (!sensor.created()) {
        show(created);
        return worst;
    }
    const auto interval = std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>{
        options.interval});
    for (std::uint32_t done = 0; !context.interrupt.requested();) {
        const clock::time_point start = clock::now();
        const sensor_run::answer answer = sensor.scan();
        show(answer.results);
        sensor_run::require_result(answer);
        ++done;
        if (done == options.count || context.interrupt.wait_until(start + interval)) {
            break;
        }
    }
    return worst;
}

} // namespace tarvik::monitoring_modules::probe
