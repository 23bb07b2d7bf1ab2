#pragma once
// The bytes of one connection, plain or over TLS. No call waits.

#include "terminal/file_descriptor.hpp"

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

enum class io_state {
    done,       ///< some bytes, or the handshake, went through
    want_read,  ///< again when there is something to read
    want_write, ///< again when there is room to write
    closed      ///< no more of this, for whatever reason
};

struct io_result {
    io_state state = io_state::closed;
    std::size_t size = 0; ///< bytes that went through
};

class transport {
  public:
    /// @param socket does not block; moved from
    explicit transport(file_descriptor& socket) noexcept { socket_.swap(socket); }
    transport(const transport&) = delete;
    transport& operator=(const transport&) = delete;
    virtual ~transport() = default;

    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }

    [[nodiscard]] virtual io_state handshake() = 0;
    [[nodiscard]] virtual io_result read(std::span<char> to) = 0;
    [[nodiscard]] virtual io_result write(std::string_view bytes) = 0;

    /// Tells the client that nothing more comes.
    virtual void finish() noexcept = 0;

    /// Throws away what the client still sends, so that closing does not destroy the answer.
    /// @return want_read until the client has closed
    [[nodiscard]] io_state discard() const noexcept;

  private:
    file_descriptor socket_;
};

/// @param socket does not block; moved from
[[nodiscard]] std::unique_ptr<transport> make_plain_transport(file_descriptor& socket);

} // namespace tarvik::monitoring_modules::probe
