#pragma once
// Takes the stack's log lines, of which it would otherwise write many to stdout, and passes on
// those that are asked for.

#include "simulator/plant_options.hpp"

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include <open62541/plugin/log.h>

namespace tarvik::simulator {

/// Must outlive every server that uses it.
class stack_logger final {
  public:
    /// @param sink may be empty
    stack_logger(log_sink sink, log_level lowest);
    stack_logger(const stack_logger&) = delete;
    stack_logger& operator=(const stack_logger&) = delete;

    /// For the configuration; stays ours.
    [[nodiscard]] UA_Logger* get() noexcept { return &logger_; }
    /// Read requests that were announced in the log: the stack has no other counter that outlives a
    /// session.
    [[nodiscard]] std::uint64_t read_requests() const noexcept { return read_requests_; }

  private:
    static void
    log(void* context,
        UA_LogLevel level,
        UA_LogCategory category,
        const char* format,
        va_list values) noexcept;

    const log_sink sink_;
    const log_level lowest_;
    std::atomic<std::uint64_t> read_requests_{0};
    UA_Logger logger_{};
};

} // namespace tarvik::simulator
