#pragma once
// A line that the module logged, how a person reads it, and who receives such lines.

#include "host/monitoring_module.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

struct log_line {
    std::string source;        ///< "runtime" or "sensor 7"; empty: not told
    std::int32_t severity = 0; ///< the lower, the more it matters
    std::string text;          ///< not yet sanitised
};

constexpr std::int32_t severity_error = 3;
constexpr std::int32_t severity_warning = 4;
constexpr std::int32_t severity_info = 6;
constexpr std::int32_t severity_debug = 7;

/// @return "warning  sensor 7: text", or "warning  text" without a source; not yet sanitised
[[nodiscard]] std::string to_text(const log_line& line);

/// The module's log sink while it lives.
class log_sink final {
  public:
    /// Gets each line on the thread that writes it, from several at once; it must not throw.
    using receiver = std::function<void(log_line&& line)>;

    /// @param library must outlive this object
    log_sink(const module_library& library, receiver receive);
    ~log_sink();
    log_sink(const log_sink&) = delete;
    log_sink& operator=(const log_sink&) = delete;

    void take(std::string_view source, std::int32_t severity, std::string_view text);

  private:
    const module_library& library_;
    const receiver receive_;
};

} // namespace tarvik::monitoring_modules::probe
