#pragma once
// Talks with all clients on one thread: accepts them, reads their requests, hands these to whoever
// answers them, and sends the answers. It waits for all sockets at once, never for one.

#include "probe/serve/http/http_connection.hpp"
#include "probe/serve/http/listening_socket.hpp"
#include "probe/serve/http/tls_context.hpp"
#include "terminal/file_descriptor.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

class connection_loop final {
  public:
    using request_call = std::function<void(std::uint64_t, request_text)>;

    /// All of them must outlive this object.
    /// @param tls null: none
    /// @param submit takes a request with the number under which its answer is expected
    connection_loop(
        listening_socket& listener,
        const tls_context* tls,
        const http_limits& limits,
        request_call submit
    );

    /// Returns after stop(), within the time of the limits.
    void run();

    /// Any thread may call these two.
    void answer(std::uint64_t id, answer_text text);
    void stop();

  private:
    using time_point = http_connection::time_point;
    struct polled;

    [[nodiscard]] bool goes_on(time_point now);
    void wait_and_serve();
    void take_answers(time_point now);
    void accept_clients(time_point now);
    void admit(accepted_socket& client, time_point now);
    void make_room();
    void follow_up(std::uint64_t id, http_connection& connection);
    void expire_and_forget(time_point now);
    void wake() noexcept;

    listening_socket& listener_;
    const tls_context* const tls_;
    const http_limits& limits_;
    const request_call submit_;
    file_descriptor wake_;
    std::uint64_t last_id_ = 0;
    std::map<std::uint64_t, http_connection> connections_; // the oldest first
    time_point accept_again_;                              // after a lack of resources
    time_point end_ = time_point::max();                   // once it stops

    std::mutex mutex_; // guards all that follows
    std::vector<std::pair<std::uint64_t, answer_text>> answers_;
    bool stopping_ = false;
};

} // namespace tarvik::monitoring_modules::probe
