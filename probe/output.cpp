#include "probe/output.hpp"

#include "probe/probe_error.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] std::string_view environment(const char* name) noexcept {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view{} : std::string_view{value};
}

} // namespace

output::output() noexcept
    : colours_{
          isatty(STDOUT_FILENO) == 1 && environment("NO_COLOR").empty() &&
          environment("TERM") != "dumb"} {}

void output::write(std::string_view text) const {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw probe_error{exit_code::output_failed, "Standard output cannot be written"};
    }
}

} // namespace tarvik::monitoring_modules::probe
