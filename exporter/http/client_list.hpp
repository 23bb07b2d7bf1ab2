#pragma once
// Who is connected, and who must go when there are too many. libmicrohttpd ends connections on
// which nothing happens; a client that sends or takes a byte now and then it would keep for ever.
// Used on the server's thread, but for unanswered().

#include "exporter/http/http_server.hpp"
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <list>

namespace tarvik::monitoring_modules::probe {

class client_list final {
  public:
    using clock = std::chrono::steady_clock;

    enum class phase {
        receiving, ///< a request, or waiting for one
        handling,  ///< somebody works on its answer
        sending
    };
    struct client {
        int socket = -1;
        phase state = phase::receiving;
        clock::time_point since;
        bool dismissed = false;
    };

    explicit client_list(const http_limits& limits) : limits_{limits} {}

    /// @return lives until it is removed
    [[nodiscard]] client* add(int socket) {
        make_room(clock::now());
        return &clients_.emplace_front(client{socket, phase::receiving, clock::now()});
    }

    void enter(client& one, phase state) {
        unanswered_ += (state == phase::receiving ? 0U : 1U);
        unanswered_ -= (one.state == phase::receiving ? 0U : 1U);
        one.state = state;
        one.since = clock::now();
    }

    /// @param one may be null
    void remove(client* one) {
        if (one != nullptr) {
            enter(*one, phase::receiving);
            clients_.remove_if([one](const client& each) { return &each == one; });
        }
    }

    /// @return how many answers are under way; any thread may ask
    [[nodiscard]] std::size_t unanswered() const noexcept { return unanswered_; }

  private:
    void make_room(clock::time_point now) {
        client* oldest = nullptr;
        std::size_t staying = 0;
        for (client& one : clients_) {
            if (one.state != phase::handling && now - one.since > limits_.patience) {
                dismiss(one);
            }
            staying += one.dismissed ? 0U : 1U;
            if (one.state == phase::receiving && !one.dismissed &&
                (oldest == nullptr || one.since < oldest->since)) {
                oldest = &one;
            }
        }
        if (staying >= limits_.connections && oldest != nullptr) {
            dismiss(*oldest);
        }
    }

    /// The server's thread sees that nothing more comes, and closes.
    static void dismiss(client& one) {
        one.dismissed = true;
        ::shutdown(one.socket, SHUT_RDWR);
    }

    const http_limits& limits_;
    std::list<client> clients_;
    std::atomic<std::size_t> unanswered_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
