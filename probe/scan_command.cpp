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
    switch (state) {
    case scan_state::ok:
        return exit_code::ok;
    case scan_state::warning:
        return exit_code::warning;
    case scan_state::error:
        break;
    }
    return exit_code::error;
}

/// Shows the results of one sensor, one after the other.
class scan_display final {
  public:
    scan_display(
        const command_context& context, const scan_options& options, const module_document& document
    )
        : context_{context},
          options_{options},
          document_{document} {}

    /// @return the worst state that was shown
    exit_code show(const sensor_answer& answer) {
        exit_code worst = exit_code::ok;
        for (const scan_result& result : answer.results) {
            show(result);
            worst = worse(worst, code_of(result.state));
        }
        return worst;
    }

  private:
    void show(const scan_result& result) {
        ++scan_;
        const std::vector<channel_view> channels = memory_.take(result, clock::now());
        if (options_.format == output_format::json) {
            context_.out.write(scan_json(result, channels, scan_));
            return;
        }
        context_.out.write(
            (scan_ > 1 ? "\n" : "") + render_scan(title(), result, channels, context_.out.colours())
        );
    }

    [[nodiscard]] std::string title() const {
        std::string text =
            document_.sensor_name(options_.kind) + " at " + address_of(options_.connection);
        if (options_.count != 1U) {
            text += ", scan " + std::to_string(scan_);
        }
        if (options_.count > 1U) {
            text += " of " + std::to_string(*options_.count);
        }
        return text;
    }

    const command_context& context_;
    const scan_options& options_;
    const module_document& document_;
    channel_memory memory_{document_};
    std::size_t scan_ = 0;
};

[[nodiscard]] exit_code scan_repeatedly(
    const command_context& context,
    const scan_options& options,
    sensor_run& sensor,
    scan_display& display
) {
    exit_code worst = exit_code::ok;
    const auto interval = std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>{
        options.interval});
    for (std::uint32_t done = 0; !context.interrupt.requested();) {
        const clock::time_point start = clock::now();
        const sensor_answer answer = sensor.scan();
        worst = worse(worst, display.show(answer));
        sensor_run::require_result(answer);
        ++done;
        if (done == options.count || context.interrupt.wait_until(start + interval)) {
            break;
        }
    }
    return worst;
}

[[nodiscard]] exit_code
run(const command_context& context,
    loaded_module& loaded,
    const scan_options& options,
    const settings_draft& draft) {
    sensor_run sensor{context.terminal, loaded, options, draft};
    scan_display display{context, options, loaded.document};
    sensor.prepare();
    const sensor_answer created = sensor.create();
    if (sensor.is_created(created)) {
        return scan_repeatedly(context, options, sensor, display);
    }
    return display.show(created);
}

} // namespace

module_step prepare(const scan_options& options, console& terminal) {
    return {
        shown_severity(options.log),
        [options, draft = sensor_draft(options, terminal)](
            const command_context& context, loaded_module& loaded
        ) { return run(context, loaded, options, draft); }};
}

} // namespace tarvik::monitoring_modules::probe
