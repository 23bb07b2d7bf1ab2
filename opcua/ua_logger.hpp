#pragma once

// Routes the log output of the OPC UA stack into a log of ours.

#include "common/liblog/log_interface.hpp"

#include <chrono>
#include <cstdarg>
#include <optional>

#include <open62541/plugin/log.h>

namespace tarvik::monitoring_modules::opcua {

/// Each message of the stack becomes one line "OPC UA Client: " + text at debug level, put together
/// only when the log takes it. The stack keeps the address of `handle()`, so the object must
/// outlive the client that logs through it. One thread at a time, as the client itself.
class ua_logger {
  public:
    /// @param target gets the lines; not owned, must outlive this object.
    explicit ua_logger(liblog::log_interface& target);
    ua_logger(const ua_logger&) = delete;
    ua_logger& operator=(const ua_logger&) = delete;
    ~ua_logger() = default;

    [[nodiscard]] UA_Logger* handle() noexcept { return &handle_; }

    /// How long the server lets the secure channel live, as it answered when the channel was opened
    /// or renewed. The stack tells this nowhere but in its log; empty until it has.
    [[nodiscard]] std::optional<std::chrono::milliseconds> revised_lifetime() const noexcept {
        return revised_lifetime_;
    }

  private:
    static void receive(
        void* context,
        UA_LogLevel level,
        UA_LogCategory category,
        const char* format,
        va_list arguments
    ) noexcept;
    void take(bool tells_lifetime, const char* format, va_list arguments);

    UA_Logger handle_;
    liblog::log_interface* target_;
    std::optional<std::chrono::milliseconds> revised_lifetime_;
};

} // namespace tarvik::monitoring_modules::opcua
