#include "host/channel_memory.hpp"
#include "host/message_json.hpp"
#include "probe/commands.hpp"
#include "probe/scan_table.hpp"
#include "probe/sensor_run.hpp"

#include <chrono>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

[[nodiscard]] exit_code code_of(scan_state state) {
    return state == scan_state::ok        ? exit_code::ok
           : state == scan_state::warning ? exit_code::warning
                                          : exit_code::error;
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

exit_code
run(const command_context& context,
    loaded_module& loaded,
    const scan_options& options,
    const settings_draft& draft) {
    channel_memory memory{loaded.document};
    std::size_t shown = 0;
    exit_code worst = exit_code::ok;
    const auto show = [&](const std::vector<scan_result>& results) {
        for (const scan_result& result : results) {
            const auto channels = memory.take(result, clock::now());
            ++shown;
            context.out.write(
                options.format == output_format::json
                    ? scan_json(result, channels, shown)
                    : (shown > 1 ? "\n" : "") + render_scan(
                                                    title(options, loaded.document, shown),
                                                    result,
                                                    channels,
                                                    context.out.colours()
                                                )
            );
            worst = worse(worst, code_of(result.state));
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
