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
    exit_code show(const std::vector<scan_result>& results) {
        exit_code worst = exit_code::ok;
        for (const scan_result& result : results) {
            const auto channels = memory_.take(result, clock::now());
            ++scan_;
            context_.out.write(
                options_.format == output_format::json
                    ? scan_json(result, channels, scan_)
                    : (scan_ > 1 ? "\n" : "") +
                          render_scan(title(), result, channels, context_.out.colours())
            );
            worst = worse(worst, code_of(result.state));
        }
        return worst;
    }

  private:
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

} // namespace

exit_code
run(const command_context& context,
    loaded_module& loaded,
    const scan_options& options,
    const settings_draft& draft) {
    sensor_run sensor{context.terminal, loaded, options, draft};
    scan_display display{context, options, loaded.document};
    sensor.prepare();
    const std::vector<scan_result> created = sensor.create();
    if (!sensor.created()) {
        return display.show(created);
    }
    exit_code worst = exit_code::ok;
    const auto interval = std::chrono::duration_cast<clock::duration>(std::chrono::duration<double>{
        options.interval});
    for (std::uint32_t done = 0; !context.interrupt.requested();) {
        const clock::time_point start = clock::now();
        const sensor_run::answer answer = sensor.scan();
        worst = worse(worst, display.show(answer.results));
        sensor_run::require_result(answer);
        ++done;
        if (done == options.count || context.interrupt.wait_until(start + interval)) {
            break;
        }
    }
    return worst;
}

} // namespace tarvik::monitoring_modules::probe
