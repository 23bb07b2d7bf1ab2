#pragma once

// A server that says what a real one said before, but for the changes that an input asks for.

#include "tests/fuzz/doors.hpp"
#include "tests/support/wire_message.hpp"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tarvik::monitoring_modules::fuzz {

/// What a server answered, by what it was asked, in the order in which it was asked for it.
using recorded_answers = std::map<test_support::moment, std::vector<std::string>>;

/// One change of one of the answers.
struct change {
    enum class kind : std::uint8_t {
        flip,      ///< the byte at the offset
        number,    ///< four bytes at the offset
        cut,       ///< what is behind the offset; the message says its new length
        cut_short, ///< the same, but the message says its old length
        replace,   ///< what is behind the offset by other bytes
        insert,    ///< other bytes at the offset
        result,    ///< of the service
        twice,     ///< the message comes two times
        close,     ///< instead of the message
        other,     ///< the answer to another question
        last
    };
    std::uint8_t message; ///< counted from 0
    kind what;
    std::uint16_t offset; ///< beyond the end: from the beginning again
    std::uint32_t number;
    std::string bytes;
};

[[nodiscard]] std::vector<change> read_changes(input_parts& input);

/// @param answers of which kind::other takes one; empty: it changes nothing
void apply(const change& wish, std::string& message, const recorded_answers& answers);

class session_peer {
  public:
    /// @param server_port of a real server on loopback
    explicit session_peer(std::uint16_t server_port);
    session_peer(const session_peer&) = delete;
    session_peer& operator=(const session_peer&) = delete;
    ~session_peer();

    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }

    // For connections from now on.

    /// Passes everything on to the server and back, and keeps what it answers.
    void record();
    [[nodiscard]] recorded_answers recorded();

    /// Answers as recorded. A client that is silent for a moment after a change waits for something
    /// that never comes: its connections are closed.
    void replay(const recorded_answers& answers, std::vector<change> changes);

  private:
    struct link;

    void serve();
    [[nodiscard]] bool take(link& from);
    [[nodiscard]] bool answer(link& to, const std::string& request);
    [[nodiscard]] bool pass_on(link& to, const std::string& request);
    [[nodiscard]] bool play(link& to, const std::string& request);

    std::uint16_t server_port_;
    std::uint16_t port_{};
    int listener_;
    std::atomic<bool> ending_{false};
    std::mutex mutex_; // guards what follows, but for the thread
    bool recording_ = false;
    recorded_answers answers_;
    std::vector<change> changes_;
    std::map<test_support::moment, std::size_t> played_;
    std::size_t sent_ = 0;
    bool changed_ = false;
    std::jthread thread_; // last: it uses everything above
};

} // namespace tarvik::monitoring_modules::fuzz
