#pragma once

// Keeps messages from the stack that it cannot bear: up to version 1.4.11, an answer whose type
// cannot be read has its client free what was never allocated.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// Follows the bytes of one TCP connection from a server, chunk by chunk (OPC 10000-6, 6.7.2).
class message_screen {
  public:
    /// @param bytes in the order in which they come, cut anywhere; not encrypted
    /// @param signature_size bytes at the end of each chunk
    /// @return false: they hold a message whose first chunk does not begin with a numeric type
    [[nodiscard]] bool pass(std::string_view bytes, std::size_t signature_size) noexcept;

  private:
    // Type and "F", "C" or "A" (4 bytes), length (4), channel, token, sequence number and request;
    // then the message, which begins with the encoding of its type.
    static constexpr std::size_t length_at = 4;
    static constexpr std::size_t header_size = 24;

    [[nodiscard]] bool is_good(std::size_t signature_size) const noexcept;

    std::array<unsigned char, header_size + 1> head_{}; // of the chunk that is coming
    std::size_t seen_ = 0;                              // of its bytes
    std::uint32_t length_ = 0;                          // as it says; 0: not known yet
    bool goes_on_ = false;                              // the chunk before was not the last one
};

} // namespace tarvik::monitoring_modules::opcua
