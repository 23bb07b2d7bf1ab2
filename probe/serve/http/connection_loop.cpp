#include "probe/serve/http/connection_loop.hpp"

#include <sys/eventfd.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <limits>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

using clock = std::chrono::steady_clock;

constexpr int most_accepted_at_once = 16;
constexpr std::chrono::milliseconds rest_without_resources{100};

/// @return for poll; rounded up, so that the time is over afterwards
[[nodiscard]] int milliseconds_until(clock::time_point when, clock::time_point now) {
    if (when == clock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - now).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

} // namespace

/// What one round of polling asks for.
struct connection_loop::polled {
    std::vector<pollfd> sources;
    std::vector<std::uint64_t> ids; // of sources[2] and those behind it
    time_point deadline;
};

connection_loop::connection_loop(
    listening_socket& listener,
    const tls_context* tls,
    const http_limits& limits,
    request_call submit
)
    : listener_{listener},
      tls_{tls},
      limits_{limits},
      submit_{std::move(submit)},
      wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)} {
    if (wake_.get() < 0) {
        throw std::system_error{errno, std::generic_category(), "eventfd"};
    }
}

void connection_loop::run() {
    while (goes_on(clock::now())) {
        wait_and_serve();
    }
    connections_.clear();
}

void connection_loop::answer(std::uint64_t id, answer_text text) {
    {
        const std::lock_guard lock{mutex_};
        answers_.emplace_back(id, std::move(text));
    }
    wake();
}

void connection_loop::stop() {
    {
        const std::lock_guard lock{mutex_};
        stopping_ = true;
    }
    wake();
}

void connection_loop::wake() noexcept {
    const std::uint64_t one = 1;
    // A full counter wakes as well.
    [[maybe_unused]] const ssize_t written = ::write(wake_.get(), &one, sizeof one);
}

/// While it stops, only what is being answered is left.
bool connection_loop::goes_on(time_point now) {
    {
        const std::lock_guard lock{mutex_};
        if (!stopping_) {
            return true;
        }
    }
    listener_.close();
    end_ = std::min(end_, now + limits_.stop);
    std::erase_if(connections_, [](const auto& each) { return each.second.is_dispensable(); });
    return !connections_.empty() && now < end_;
}

void connection_loop::wait_and_serve() {
    const time_point start = clock::now();
    const bool accepting = start >= accept_again_;
    polled round{
        {{wake_.get(), POLLIN, 0}, {accepting ? listener_.descriptor() : -1, POLLIN, 0}},
        {},
        accepting ? end_ : std::min(end_, accept_again_)};
    for (const auto& [id, connection] : connections_) {
        const short events = connection.events();
        round.sources.push_back({events == 0 ? -1 : connection.descriptor(), events, 0});
        round.ids.push_back(id);
        round.deadline = std::min(round.deadline, connection.deadline());
    }
    const int timeout = milliseconds_until(round.deadline, start);
    if (::poll(round.sources.data(), round.sources.size(), timeout) < 0) {
        return; // a signal, or no memory at this moment
    }
    const time_point now = clock::now();
    for (std::size_t i = 0; i < round.ids.size(); ++i) {
        if (round.sources[i + 2].revents != 0) {
            http_connection& connection = connections_.at(round.ids[i]);
            connection.advance(now);
            follow_up(round.ids[i], connection);
        }
    }
    if (round.sources[0].revents != 0) {
        take_answers(now);
    }
    expire_and_forget(now);
    if (round.sources[1].revents != 0) {
        accept_clients(now);
    }
}

void connection_loop::take_answers(time_point now) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = ::read(wake_.get(), &count, sizeof count);
    std::vector<std::pair<std::uint64_t, answer_text>> answers;
    {
        const std::lock_guard lock{mutex_};
        answers.swap(answers_);
    }
    for (auto& [id, text] : answers) {
        if (const auto found = connections_.find(id); found != connections_.end()) {
            found->second.answer(std::move(text), now);
            follow_up(id, found->second);
        }
    }
}

void connection_loop::follow_up(std::uint64_t id, http_connection& connection) {
    if (connection.state() == http_connection::phase::ready) {
        submit_(id, connection.take_request());
    }
}

void connection_loop::accept_clients(time_point now) {
    for (int i = 0; i < most_accepted_at_once; ++i) {
        accepted_socket client;
        const accept_problem problem = listener_.accept(client);
        if (problem == accept_problem::no_resources) {
            make_room();
            accept_again_ = now + rest_without_resources;
        }
        if (problem != accept_problem::none) {
            return;
        }
        if (connections_.size() >= limits_.connections) {
            make_room();
        }
        if (connections_.size() < limits_.connections) {
            admit(client, now);
        }
    }
}

void connection_loop::admit(accepted_socket& client, time_point now) {
    try {
        std::unique_ptr<transport> bytes = tls_ == nullptr ? make_plain_transport(client.socket)
                                                           : tls_->make_transport(client.socket);
        const auto [at, is_new] = connections_.try_emplace(
            ++last_id_, std::move(bytes), client.peer, tls_ != nullptr, limits_, now
        );
        at->second.advance(now);
        follow_up(at->first, at->second);
    } catch (const std::bad_alloc&) {
        accept_again_ = now + rest_without_resources; // the client is gone
    }
}

/// Whoever came first of those that have nothing under way makes room for others.
void connection_loop::make_room() {
    const auto found = std::ranges::find_if(connections_, [](const auto& each) {
        return each.second.is_dispensable();
    });
    if (found != connections_.end()) {
        connections_.erase(found);
    }
}

void connection_loop::expire_and_forget(time_point now) {
    for (auto& [id, connection] : connections_) {
        if (connection.deadline() <= now) {
            connection.expire(now);
        }
    }
    std::erase_if(connections_, [](const auto& each) {
        return each.second.state() == http_connection::phase::closed;
    });
}

} // namespace tarvik::monitoring_modules::probe
