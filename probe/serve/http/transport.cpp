#include "probe/serve/http/transport.hpp"

#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace tarvik::monitoring_modules::probe {

namespace {

class plain_transport final : public transport {
  public:
    using transport::transport;

    [[nodiscard]] io_state handshake() override { return io_state::done; }

    [[nodiscard]] io_result read(std::span<char> to) override {
        return result(::recv(descriptor(), to.data(), to.size(), 0), io_state::want_read);
    }

    [[nodiscard]] io_result write(std::string_view bytes) override {
        return result(
            ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL), io_state::want_write
        );
    }

    void finish() noexcept override { ::shutdown(descriptor(), SHUT_WR); }

  private:
    [[nodiscard]] static io_result result(ssize_t count, io_state again) {
        if (count > 0) {
            return {io_state::done, static_cast<std::size_t>(count)};
        }
        const bool later = count < 0 && (errno == EAGAIN || errno == EINTR);
        return {later ? again : io_state::closed, 0};
    }
};

} // namespace

io_state transport::discard() const noexcept {
    constexpr int at_once = 16; // blocks, so that other connections get their turn
    std::array<char, 4096> block{};
    for (int i = 0; i < at_once; ++i) {
        const ssize_t count = ::recv(descriptor(), block.data(), block.size(), 0);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            return io_state::closed;
        }
        if (count < 0) {
            break;
        }
    }
    return io_state::want_read;
}

std::unique_ptr<transport> make_plain_transport(file_descriptor& socket) {
    return std::make_unique<plain_transport>(socket);
}

} // namespace tarvik::monitoring_modules::probe
