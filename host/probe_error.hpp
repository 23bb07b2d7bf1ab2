#pragma once
// How the program ends: its exit codes and the one exception that carries them.

#include <stdexcept>
#include <string>
#include <utility>

namespace tarvik::monitoring_modules::probe {

/// Exit codes of the program; `--help` explains them. An interrupted run ends with 128 + signal.
enum class exit_code {
    ok = 0,
    warning = 1,     ///< a scan delivered a warning
    error = 2,       ///< a scan delivered an error, or a check answered no
    call_failed = 3, ///< the module refused or failed a call, or sent something unusable
    usage = 64,      ///< the command line cannot be understood, or a file it names cannot be read
    not_loaded = 70, ///< the module or the simulator could not be loaded or started
    output_failed = 74
};

/// @return the one that matters more
[[nodiscard]] constexpr exit_code worse(exit_code left, exit_code right) noexcept {
    return left < right ? right : left;
}

/// Ends the command; its text is for the person at the terminal and may hold text from outside.
class probe_error : public std::runtime_error {
  public:
    /// @param hint what to do about it, with its label; empty: nothing that the text does not say
    probe_error(exit_code code, const std::string& text, std::string hint = {})
        : std::runtime_error{text},
          code_{code},
          hint_{std::move(hint)} {}
    [[nodiscard]] exit_code code() const noexcept { return code_; }
    [[nodiscard]] const std::string& hint() const noexcept { return hint_; }

  private:
    exit_code code_;
    std::string hint_;
};

/// The command line, or a file that it names, cannot be used.
struct usage_error : probe_error {
    explicit usage_error(const std::string& text) : probe_error{exit_code::usage, text} {}
};

} // namespace tarvik::monitoring_modules::probe
