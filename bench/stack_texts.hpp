#pragma once

// What the OPC UA stack wants when it is called by hand: a logger, and texts in its own form.

#include <cstdarg>
#include <string>

#include <open62541/plugin/log.h>
#include <open62541/types.h>

namespace tarvik::bench {

/// Drops every line; lives as long as the process.
[[nodiscard]] inline UA_Logger* silent_logger() {
    static UA_Logger logger{
        [](void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {}, nullptr, nullptr};
    return &logger;
}

/// The text's bytes, for a call that only reads them.
[[nodiscard]] inline UA_ByteString borrowed(const std::string& text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

} // namespace tarvik::bench
