#pragma once

// Keeps messages from the stack that it cannot bear: up to version 1.4.11, an answer whose type
// cannot be read has its client free what was never allocated.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarvik::monitoring_modules::opcua {

/// Follows what comes from a server over one TCP connection, chunk by chunk (OPC 10000-6, 6.7.2).
class message_screen {
  public:
    // @return false: here is a message whose first chunk does not begin with a numeric type

    /// @param bytes in the order in which they come, cut anywhere; of a channel without security
    [[nodiscard]] bool pass(std::string_view bytes) noexcept;

    /// @param chunk whole and decrypted, without its signature
    /// @param padded whether it ends with padding, whose last byte is the number of those before
    [[nodiscard]] bool pass_chunk(std::string_view chunk, bool padded) noexcept;

  private:
    // Type and "F", "C" or "A" (4 bytes), length (4), channel, token, sequence number and request;
    // then the message, which begins with the encoding of its type.
    static constexpr std::size_t length_at = 4;
    static constexpr std::size_t header_size = 24;

    [[nodiscard]] bool is_good() const noexcept;
    void end_chunk() noexcept;

    std::array<unsigned char, header_size + 1> head_{}; // of the chunk that is coming
    std::size_t seen_ = 0;                              // of its bytes
    std::uint32_t length_ = 0;                          // as it says; 0: not known yet
    bool goes_on_ = false;                              // the chunk before was not the last one
};

} // namespace tarvik::monitoring_modules::opcua
