#pragma once

// A bad OPC UA server for tests: stands in front of a real one, passes on what both sides say, and
// at one moment does what its script says.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <thread>

#include <open62541/types_generated.h>

namespace tarvik::monitoring_modules::test_support {

/// What a client does, in the order in which it does it. Services are seen as long as messages are
/// not encrypted.
enum class moment {
    never,
    connecting,
    hello,
    opening, ///< a channel without security
    opening_secured,
    find_servers,
    get_endpoints,
    create_session,
    activate_session,
    close_session,
    read,
    write,
    unreadable, ///< any message of an encrypted channel
};

enum class deed {
    pass_on,
    close,        ///< the request is not passed on, the connection ends
    close_answer, ///< the server answers, and the connection ends instead
    hold_answer,  ///< the answer is kept back until the connection ends, like everything after it
    spoil_answer, ///< its service result becomes the script's status; for services
};

struct script {
    moment when = moment::never;
    deed what = deed::pass_on;
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    /// Changes each answer to Read; for clients without security.
    std::function<void(UA_ReadResponse&)> rewrite{};
    /// The same for the answers to GetEndpoints and CreateSession.
    std::function<void(UA_GetEndpointsResponse&)> rewrite_endpoints{};
    std::function<void(UA_CreateSessionResponse&)> rewrite_session{};
    /// Changes the bytes of each message of the server.
    std::function<void(std::span<UA_Byte>)> rewrite_bytes{};
};

/// Listens on loopback from construction to destruction. What it counts may be asked for at any
/// time, from any thread; connections that are closed are counted too.
class scripted_peer {
  public:
    /// @param server_port of the real server, on loopback
    /// @throws std::runtime_error when it cannot listen
    scripted_peer(std::uint16_t server_port, script plan);
    scripted_peer(const scripted_peer&) = delete;
    scripted_peer& operator=(const scripted_peer&) = delete;
    ~scripted_peer();

    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
    [[nodiscard]] int connections() const noexcept { return connections_; }
    [[nodiscard]] int seen(moment what) const;

    /// When it last closed a connection by its script; the epoch before.
    [[nodiscard]] std::chrono::steady_clock::time_point last_close() const;

    /// Replaces the script, for what comes from now on.
    void play(script plan);

  private:
    struct link;

    void serve() noexcept;
    void accept_one(std::map<int, link>& links);
    [[nodiscard]] bool move_request(link& of);
    [[nodiscard]] bool move_answer(link& of);
    [[nodiscard]] script note(moment what);
    void note_close();

    std::uint16_t server_port_;
    std::uint16_t port_{};
    int listener_;
    std::atomic<int> connections_{0};
    mutable std::mutex mutex_;
    script plan_;                                      // guarded by mutex_
    std::map<moment, int> seen_;                       // guarded by mutex_
    std::chrono::steady_clock::time_point last_close_; // guarded by mutex_
    std::atomic<bool> ending_{false};
    std::jthread thread_; // last: it uses everything above
};

} // namespace tarvik::monitoring_modules::test_support
