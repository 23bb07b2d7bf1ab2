#pragma once

// Tells a host that observes events why a call did not do what it was asked for.

#include "common/libexception/exception.hpp"
#include "common/libi18n/i18n_exception.hpp"
#include "zunohelper/host_events.hpp"

#include <cstdint>
#include <exception>

namespace tarvik::monitoring_modules::opcua {

/// @param event ZUNO_EVENT_NOTIFICATION_FAILED or ZUNO_EVENT_CHECK_FAILED
inline void report_failure(std::int32_t event, const std::exception& error) noexcept {
    libzunohelper::report_event(event, libexception::text_of(error));
    if (const auto* known = dynamic_cast<const libi18n::i18n_exception*>(&error)) {
        libzunohelper::report_event(ZUNO_EVENT_ERROR_IDENTITY, known->message().identity());
    }
}

} // namespace tarvik::monitoring_modules::opcua
