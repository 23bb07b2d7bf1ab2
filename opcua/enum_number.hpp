#pragma once

// Enumerations that a server sent.

#include <cstdint>
#include <cstring>

namespace tarvik::monitoring_modules::opcua {

/// The number behind an enumeration of the stack, which may be any that a server sent: it is copied
/// rather than read, since a value outside the enumeration must not be read as one.
template <typename Enum>
[[nodiscard]] std::int32_t number_of(const Enum& value) noexcept {
    static_assert(sizeof(Enum) == sizeof(std::int32_t));
    std::int32_t number = 0;
    std::memcpy(&number, &value, sizeof number);
    return number;
}

} // namespace tarvik::monitoring_modules::opcua
