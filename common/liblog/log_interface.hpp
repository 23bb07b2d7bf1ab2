#pragma once

// Where diagnostic lines go. Implementations guard themselves: any thread may log at any time.

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::liblog {

/// How much a line matters; the lower the number, the more. Numbers between the named ones are
/// allowed.
enum class severity : std::int32_t {
    failed_check = 0,
    error = 3,
    warning = 4,
    info = 6,
    debug = 7,
};

class log_interface {
  public:
    log_interface() = default;
    log_interface(const log_interface&) = delete;
    log_interface& operator=(const log_interface&) = delete;
    virtual ~log_interface() = default;

    /// @param text one line without a line end; copied when kept, valid only during the call.
    virtual void log(severity level, std::string_view text) = 0;

    /// The highest severity number that a line may have now to be kept: what is above it need not
    /// be put together.
    [[nodiscard]] virtual severity threshold() const noexcept { return severity::debug; }
};

/// Whether a line of this level would be kept by the log (none: no).
[[nodiscard]] inline bool takes(const log_interface* log, severity level) noexcept {
    return log != nullptr && level <= log->threshold();
}

namespace detail {

inline void append_part(std::string& line, std::string_view part) {
    line.append(part);
}

template <std::integral Number>
requires(!std::same_as<Number, bool> && !std::same_as<Number, char>) void append_part(
    std::string& line, Number number
) {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    line.append(digits, end);
}

} // namespace detail

/// Writes one line made of texts and integers. Nothing is put together when nobody keeps the line.
/// @param log may be null: nothing happens then.
template <typename... Parts>
void write(log_interface* log, severity level, const Parts&... parts) {
    if (!takes(log, level)) {
        return;
    }
    std::string line;
    (detail::append_part(line, parts), ...);
    log->log(level, line);
}

} // namespace tarvik::monitoring_modules::liblog
