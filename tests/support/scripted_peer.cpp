#include "tests/support/scripted_peer.hpp"

#include "tests/support/loopback.hpp"
#include "tests/support/wire_message.hpp"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::test_support {

using namespace wire;

class socket_owner {
  public:
    explicit socket_owner(int descriptor = -1) noexcept : descriptor_{descriptor} {}
    socket_owner(socket_owner&& other) noexcept
        : descriptor_{std::exchange(other.descriptor_, -1)} {}
    socket_owner& operator=(socket_owner&&) = delete;
    ~socket_owner() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    [[nodiscard]] int get() const noexcept { return descriptor_; }

  private:
    int descriptor_;
};

/// One client and its own connection to the server.
struct scripted_peer::link {
    socket_owner client;
    socket_owner server;
    std::string requests{}; // bytes that are no whole message yet
    std::string answers{};
    bool close_at_answer = false;
    bool holding = false;
    UA_StatusCode next_result = UA_STATUSCODE_GOOD; // of the next answer, unless it is good
};

scripted_peer::scripted_peer(std::uint16_t server_port, script plan)
    : server_port_{server_port},
      listener_{::socket(AF_INET, SOCK_STREAM, 0)},
      plan_{std::move(plan)} {
    port_ = listen_at(listener_);
    if (port_ == 0) {
        ::close(listener_);
        throw std::runtime_error{"scripted_peer cannot listen"};
    }
    thread_ = std::jthread{[this] { serve(); }};
}

scripted_peer::~scripted_peer() {
    ending_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

int scripted_peer::seen(moment what) const {
    const std::lock_guard lock{mutex_};
    const auto found = seen_.find(what);
    return found != seen_.end() ? found->second : 0;
}

std::chrono::steady_clock::time_point scripted_peer::last_close() const {
    const std::lock_guard lock{mutex_};
    return last_close_;
}

void scripted_peer::play(script plan) {
    const std::lock_guard lock{mutex_};
    plan_ = std::move(plan);
}

/// Counts the moment and tells what the script wants now.
script scripted_peer::note(moment what) {
    const std::lock_guard lock{mutex_};
    ++seen_[what];
    script now = plan_;
    if (now.when != what) {
        now.what = deed::pass_on;
    }
    return now;
}

void scripted_peer::note_close() {
    const std::lock_guard lock{mutex_};
    last_close_ = std::chrono::steady_clock::now();
}

void scripted_peer::serve() noexcept {
    std::map<int, link> links; // by the client's descriptor
    while (!ending_) {
        std::vector<pollfd> waiting{{listener_, POLLIN, 0}};
        for (const auto& [client, of] : links) {
            waiting.push_back({client, POLLIN, 0});
            waiting.push_back({of.server.get(), POLLIN, 0});
        }
        if (::poll(waiting.data(), waiting.size(), -1) < 0) {
            continue;
        }
        for (std::size_t i = 1; i < waiting.size(); i += 2) {
            link& of = links.at(waiting[i].fd);
            const bool goes_on = (waiting[i].revents == 0 || move_request(of)) &&
                                 (waiting[i + 1].revents == 0 || move_answer(of));
            if (!goes_on) {
                links.erase(waiting[i].fd);
            }
        }
        if (waiting[0].revents != 0) {
            accept_one(links);
        }
    }
}

void scripted_peer::accept_one(std::map<int, link>& links) {
    socket_owner client{::accept(listener_, nullptr, nullptr)};
    if (client.get() < 0) {
        return;
    }
    ++connections_;
    if (note(moment::connecting).what == deed::close) {
        note_close();
        return;
    }
    socket_owner server{::socket(AF_INET, SOCK_STREAM, 0)};
    if (connect_to(server.get(), server_port_)) {
        const int key = client.get();
        links.emplace(key, link{std::move(client), std::move(server)});
    }
}

bool scripted_peer::move_request(link& of) {
    if (!receive(of.client.get(), of.requests)) {
        return false;
    }
    for (std::string message; !(message = take_message(of.requests)).empty();) {
        const script now = note(moment_of(message));
        if (now.what == deed::close) {
            note_close();
            return false;
        }
        of.close_at_answer = of.close_at_answer || now.what == deed::close_answer;
        of.holding = of.holding || now.what == deed::hold_answer;
        if (now.what == deed::spoil_answer) {
            of.next_result = now.status;
        }
        if (!send_all(of.server.get(), message)) {
            return false;
        }
    }
    return true;
}

bool scripted_peer::move_answer(link& of) {
    if (!receive(of.server.get(), of.answers)) {
        return false;
    }
    if (of.close_at_answer) {
        note_close();
        return false;
    }
    for (std::string message; !of.holding && !(message = take_message(of.answers)).empty();) {
        const script now = [this] {
            const std::lock_guard lock{mutex_};
            return plan_;
        }();
        if (of.next_result != UA_STATUSCODE_GOOD) {
            set_service_result(message, std::exchange(of.next_result, UA_STATUSCODE_GOOD));
        }
        rewrite_answer(message, now);
        if (now.rewrite_bytes) {
            now.rewrite_bytes({reinterpret_cast<UA_Byte*>(message.data()), message.size()});
        }
        if (!send_all(of.client.get(), message)) {
            return false;
        }
    }
    return true;
}

} // namespace tarvik::monitoring_modules::test_support
