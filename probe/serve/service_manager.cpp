#include "probe/serve/service_manager.hpp"

#include <systemd/sd-daemon.h>

namespace tarvik::monitoring_modules::probe {

namespace {

// Whether it arrives is the service manager's concern: without the word it ends the service by
// itself.
void tell(const std::string& lines) {
    static_cast<void>(sd_notify(0, lines.c_str()));
}

} // namespace

void tell_that_it_serves(const std::string& status) {
    tell("READY=1\nSTATUS=" + status);
}

void tell_that_it_ends() {
    tell("STOPPING=1\nSTATUS=Closing all sessions");
}

} // namespace tarvik::monitoring_modules::probe
