#pragma once
// One client and where it stands. Never waits; the loop tells it when its socket is ready and when
// its time is over. Used by the loop's thread only.

#include "probe/serve/http/http_settings.hpp"
#include "probe/serve/http/request_processor.hpp"
#include "probe/serve/http/transport.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace tarvik::monitoring_modules::probe {

class http_connection final {
  public:
    using time_point = std::chrono::steady_clock::time_point;

    enum class phase {
        handshake,
        receiving, ///< a request, or waiting for one
        ready,     ///< a request is there
        handling,  ///< somebody works on its answer
        sending,
        farewell, ///< the last answer is out; the client should close
        closed
    };

    /// @param limits must outlive this object
    http_connection(
        std::unique_ptr<transport> bytes,
        std::string peer,
        bool secure,
        const http_limits& limits,
        time_point now
    );

    [[nodiscard]] phase state() const noexcept { return phase_; }
    [[nodiscard]] int descriptor() const noexcept { return transport_->descriptor(); }

    /// @return what to poll for; 0: nothing
    [[nodiscard]] short events() const noexcept;

    /// @return when to call expire(); time_point::max(): never
    [[nodiscard]] time_point deadline() const noexcept { return deadline_; }

    /// @return whether it waits for its client's request, or for its client to go
    [[nodiscard]] bool is_dispensable() const noexcept;

    /// Goes on as far as the socket allows.
    void advance(time_point now);

    /// The client was too slow.
    void expire(time_point now);

    /// Only when ready; it is being handled then.
    [[nodiscard]] request_text take_request();

    /// Only while it is being handled.
    void answer(answer_text text, time_point now);

  private:
    void receive(time_point now);
    void look_for_request(time_point now);
    void send(time_point now);
    void sent(time_point now);
    void refuse(int status, time_point now);
    void say_farewell(time_point now);
    void close() noexcept;

    std::unique_ptr<transport> transport_;
    const std::string peer_;
    const bool secure_;
    const http_limits& limits_;
    phase phase_ = phase::handshake;
    bool wants_write_ = false;
    time_point deadline_;
    std::string input_;
    std::size_t head_size_ = 0;
    std::string output_;
    std::size_t sent_ = 0;
    time_point send_end_;
    bool keep_ = false; // the connection, after the answer
    std::size_t requests_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
