#include "probe/serve/http/http_connection.hpp"

#include "probe/serve/http/fixed_answer.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::string_view end_of_head = "\r\n\r\n";

} // namespace

http_connection::http_connection(
    std::unique_ptr<transport> bytes,
    std::string peer,
    bool secure,
    const http_limits& limits,
    time_point now
)
    : transport_{std::move(bytes)},
      peer_{std::move(peer)},
      secure_{secure},
      limits_{limits},
      deadline_{now + limits.receive} {}

short http_connection::events() const noexcept {
    switch (phase_) {
    case phase::handshake:
    case phase::receiving:
    case phase::sending:
        return wants_write_ ? POLLOUT : POLLIN;
    case phase::farewell:
        return POLLIN;
    default:
        return 0;
    }
}

bool http_connection::is_dispensable() const noexcept {
    return phase_ == phase::handshake || phase_ == phase::receiving || phase_ == phase::farewell;
}

void http_connection::advance(time_point now) {
    if (phase_ == phase::handshake) {
        const io_state state = transport_->handshake();
        wants_write_ = state == io_state::want_write;
        if (state == io_state::done) {
            phase_ = phase::receiving;
        } else if (state == io_state::closed) {
            close();
        }
    }
    if (phase_ == phase::receiving) {
        receive(now);
    } else if (phase_ == phase::sending) {
        send(now);
    } else if (phase_ == phase::farewell && transport_->discard() == io_state::closed) {
        close();
    }
}

void http_connection::receive(time_point now) {
    std::array<char, 4096> block{};
    while (phase_ == phase::receiving) {
        const io_result result = transport_->read(block);
        wants_write_ = result.state == io_state::want_write;
        if (result.state == io_state::closed) {
            close();
        }
        if (result.state != io_state::done) {
            return;
        }
        if (input_.empty() && requests_ > 0) {
            deadline_ = now + limits_.receive; // so far it was idle
        }
        input_.append(block.data(), result.size);
        look_for_request(now);
    }
}

void http_connection::look_for_request(time_point now) {
    const std::size_t end = input_.find(end_of_head);
    const std::size_t size = end == std::string::npos ? input_.size() : end + end_of_head.size();
    if (size > limits_.head_size) {
        refuse(431, now);
    } else if (end != std::string::npos) {
        head_size_ = size;
        phase_ = phase::ready;
        deadline_ = time_point::max();
    }
}

request_text http_connection::take_request() {
    phase_ = phase::handling;
    ++requests_;
    request_text result{input_.substr(0, head_size_), peer_, requests_ >= limits_.requests};
    input_.erase(0, head_size_);
    return result;
}

void http_connection::answer(answer_text text, time_point now) {
    output_ = std::move(text.bytes);
    keep_ = text.keep;
    sent_ = 0;
    phase_ = phase::sending;
    send_end_ = now + limits_.send;
    deadline_ = std::min(now + limits_.stall, send_end_);
    send(now);
}

void http_connection::send(time_point now) {
    while (sent_ < output_.size()) {
        const io_result result = transport_->write(std::string_view{output_}.substr(sent_));
        wants_write_ = result.state != io_state::want_read;
        if (result.state == io_state::closed) {
            close();
        }
        if (result.state != io_state::done) {
            return;
        }
        sent_ += result.size;
        deadline_ = std::min(now + limits_.stall, send_end_);
    }
    sent(now);
}

void http_connection::sent(time_point now) {
    output_ = {};
    wants_write_ = false;
    if (!keep_) {
        say_farewell(now);
        return;
    }
    phase_ = phase::receiving;
    deadline_ = now + (input_.empty() ? limits_.idle : limits_.receive);
    look_for_request(now); // it may have come with the one before
}

void http_connection::refuse(int status, time_point now) {
    answer({fixed_answer(status, secure_), false}, now);
}

void http_connection::say_farewell(time_point now) {
    phase_ = phase::farewell;
    deadline_ = now + limits_.farewell;
    transport_->finish();
}

void http_connection::expire(time_point now) {
    if (phase_ == phase::receiving && !input_.empty()) {
        refuse(408, now);
    } else {
        close();
    }
}

void http_connection::close() noexcept {
    phase_ = phase::closed;
    deadline_ = time_point::max();
}

} // namespace tarvik::monitoring_modules::probe
