#pragma once
// Tells systemd how far the service is (Type=notify), so that `systemctl start` fails when a
// configuration is wrong and `systemctl status` shows what is served. Does nothing where no service
// manager listens.

#include <string>

namespace tarvik::monitoring_modules::probe {

/// @param status one line for people
void tell_that_it_serves(const std::string& status);
void tell_that_it_ends();

} // namespace tarvik::monitoring_modules::probe
