#pragma once

// The one way in which messages reach the host.

#include "zunohelper/export.hpp"
#include "zunohelper/zuno_message.hpp"

#include <cstdint>
#include <functional>

namespace tarvik::monitoring_modules::libzunohelper {

class ZUNOHELPER_API message_service_interface {
  public:
    message_service_interface() = default;
    message_service_interface(const message_service_interface&) = delete;
    message_service_interface& operator=(const message_service_interface&) = delete;
    virtual ~message_service_interface();

    /// Hands the message over before it returns, on the calling thread. Thread-safe.
    virtual void send(const zuno_message& message) = 0;
};

class ZUNOHELPER_API message_service final : public message_service_interface {
  public:
    /// Takes a message's bytes, which are valid only during the call, and their count. Called from
    /// several threads at once.
    using send_function = std::function<void(const std::uint8_t* bytes, std::uint64_t count)>;

    /// @throws std::invalid_argument for an empty function.
    explicit message_service(send_function send);

    /// Serializes the message, calls the send function, then tells the message that it was
    /// delivered.
    /// @throws what serializing or the send function throws; the message is not told then.
    void send(const zuno_message& message) override;

    /// @return whether the calling thread is inside a send function, be it of another service.
    [[nodiscard]] static bool is_sending() noexcept;

  private:
    send_function send_;
};

} // namespace tarvik::monitoring_modules::libzunohelper
