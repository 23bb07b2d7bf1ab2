#include "terminal/output.hpp"

#include "host/probe_error.hpp"
#include <sys/ioctl.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string_view environment(const char* name) noexcept {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

output::output() noexcept
    : colours_{
          isatty(STDOUT_FILENO) == 1 && environment("NO_COLOR").empty() &&
          environment("TERM") != "dumb"} {}

std::size_t output::columns() const noexcept {
    constexpr std::size_t without_terminal = 100;
    constexpr std::size_t narrowest = 40;
    constexpr std::size_t widest = 120;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return without_terminal;
    }
    return std::clamp<std::size_t>(size.ws_col, narrowest, widest);
}

void output::write(std::string_view text) const {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw probe_error{exit_code::output_failed, "Standard output cannot be written"};
    }
}

} // namespace tarvik::monitoring_modules::probe
