#include "tests/fuzz/session_peer.hpp"

#include "host/file_descriptor.hpp"
#include "tests/support/loopback.hpp"

#include <poll.h>

#include <list>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tarvik::monitoring_modules::fuzz {

using test_support::listen_at;
using test_support::moment;
using test_support::receive;
using test_support::send_all;

namespace {

// OPC 10000-6, 6.7.2: a message begins with its type, "F" and its length.
constexpr std::size_t length_at = 4;
// Behind the channel's number and, in all but the opening of a channel, the token's number.
constexpr std::size_t sequence_at = 16;
constexpr std::size_t policy_at = 12; // of an opening
constexpr std::size_t result_at = 24 + 4 + 8 + 4;

constexpr int idle_milliseconds = 40; // after a change

std::uint32_t number_at(std::string_view bytes, std::size_t offset) {
    std::uint32_t number = 0;
    if (bytes.size() >= offset + sizeof number) {
        std::memcpy(&number, bytes.data() + offset, sizeof number); // both are little-endian
    }
    return number;
}

void put(std::string& bytes, std::size_t offset, std::uint32_t number) {
    if (bytes.size() >= offset + sizeof number) {
        std::memcpy(bytes.data() + offset, &number, sizeof number);
    }
}

/// Where the sequence number stands, before the number of the request.
std::size_t sequence_of(std::string_view message) {
    if (!message.starts_with("OPN")) {
        return sequence_at;
    }
    std::size_t at = policy_at;
    for (int i = 0; i < 3; ++i) { // policy, certificate, thumbprint
        const std::uint32_t size = number_at(message, at);
        at += 4 + (size == 0xffffffff ? 0 : size);
    }
    return at;
}

} // namespace

void apply(const change& wish, std::string& message, const recorded_answers& answers) {
    const std::size_t at = message.empty() ? 0 : wish.offset % message.size();
    switch (wish.what) {
    case change::kind::flip:
        message[at] = static_cast<char>(message[at] ^ static_cast<char>(wish.number | 1U));
        return;
    case change::kind::number:
        return put(message, at, wish.number);
    case change::kind::cut:
    case change::kind::cut_short:
        message.resize(at);
        break;
    case change::kind::replace:
        message.replace(at, wish.bytes.size(), wish.bytes);
        break;
    case change::kind::insert:
        message.insert(at, wish.bytes);
        break;
    case change::kind::result:
        return put(message, result_at, wish.number);
    case change::kind::twice:
        message += message;
        return;
    case change::kind::other: {
        if (answers.empty()) {
            return;
        }
        auto other = answers.begin();
        std::advance(other, wish.offset % answers.size());
        message = other->second.front();
        return;
    }
    default:
        return;
    }
    if (wish.what != change::kind::cut_short) {
        put(message, length_at, static_cast<std::uint32_t>(message.size()));
    }
}

std::vector<change> read_changes(input_parts& input) {
    constexpr std::size_t most = 16;
    std::vector<change> changes;
    while (!input.empty() && changes.size() < most) {
        change& wish = changes.emplace_back();
        wish.message = input.number();
        wish.what =
            static_cast<change::kind>(input.number() % static_cast<unsigned>(change::kind::last));
        wish.offset = input.number<std::uint16_t>();
        const bool has_bytes =
            wish.what == change::kind::replace || wish.what == change::kind::insert;
        wish.number = has_bytes ? 0 : input.number<std::uint32_t>();
        wish.bytes = has_bytes ? input.part() : "";
    }
    return changes;
}

/// One connection of the client, and the one to the server while it is recorded.
struct session_peer::link {
    explicit link(int from) : client{from} {}

    probe::file_descriptor client;
    std::optional<probe::file_descriptor> server{};
    std::string requests{}; // bytes that are no whole message yet
    std::uint32_t sequence = 0;
};

session_peer::session_peer(std::uint16_t server_port)
    : server_port_{server_port},
      listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
    port_ = listen_at(listener_);
    if (port_ == 0) {
        ::close(listener_);
        throw std::runtime_error{"session_peer cannot listen"};
    }
    thread_ = std::jthread{[this] { serve(); }};
}

session_peer::~session_peer() {
    ending_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
}

void session_peer::record() {
    const std::lock_guard lock{mutex_};
    recording_ = true;
    answers_.clear();
}

recorded_answers session_peer::recorded() {
    const std::lock_guard lock{mutex_};
    return answers_;
}

void session_peer::replay(const recorded_answers& answers, std::vector<change> changes) {
    const std::lock_guard lock{mutex_};
    recording_ = false;
    answers_ = answers;
    changes_ = std::move(changes);
    played_.clear();
    sent_ = 0;
    changed_ = false;
}

void session_peer::serve() {
    std::list<link> links;
    while (!ending_) {
        std::vector<pollfd> waiting{{listener_, POLLIN, 0}};
        for (const link& each : links) {
            waiting.push_back({each.client.get(), POLLIN, 0});
        }
        int time_out = -1;
        {
            const std::lock_guard lock{mutex_};
            time_out = changed_ && !links.empty() ? idle_milliseconds : -1;
        }
        const int ready = ::poll(waiting.data(), waiting.size(), time_out);
        if (ready == 0) {
            links.clear();
            continue;
        }
        std::size_t i = 1;
        for (auto each = links.begin(); each != links.end(); ++i) {
            each = waiting[i].revents == 0 || take(*each) ? std::next(each) : links.erase(each);
        }
        if (waiting[0].revents != 0) {
            const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client >= 0) {
                links.emplace_back(client);
            }
        }
    }
}

bool session_peer::take(link& from) {
    if (!receive(from.client.get(), from.requests)) {
        return false;
    }
    for (std::string request;
         !(request = test_support::wire::take_message(from.requests)).empty();) {
        const std::lock_guard lock{mutex_};
        if (!(recording_ ? pass_on(from, request) : play(from, request))) {
            return false;
        }
    }
    return true;
}

bool session_peer::pass_on(link& to, const std::string& request) {
    if (!to.server) {
        to.server.emplace(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (!test_support::connect_to(to.server->get(), server_port_)) {
            return false;
        }
    }
    if (!send_all(to.server->get(), request) || request.starts_with("CLO")) {
        return false;
    }
    std::string bytes;
    std::string answer;
    while ((answer = test_support::wire::take_message(bytes)).empty()) {
        if (!receive(to.server->get(), bytes)) {
            return false;
        }
    }
    answers_[test_support::wire::moment_of(request)].push_back(answer);
    return send_all(to.client.get(), answer);
}

bool session_peer::play(link& to, const std::string& request) {
    const moment asked = test_support::wire::moment_of(request);
    const auto found = answers_.find(asked);
    if (found == answers_.end()) {
        return false;
    }
    const std::size_t times = played_[asked]++;
    std::string message = found->second[std::min(times, found->second.size() - 1)];
    if (asked != moment::hello) {
        const std::size_t sequence = sequence_of(message);
        put(message, sequence, ++to.sequence);
        put(message, sequence + 4, number_at(request, sequence_of(request) + 4));
    }
    const std::size_t number = sent_++;
    for (const change& wish : changes_) {
        if (wish.message % 32 == number) {
            changed_ = true;
            if (wish.what == change::kind::close) {
                return false;
            }
            apply(wish, message, answers_);
        }
    }
    return send_all(to.client.get(), message);
}

} // namespace tarvik::monitoring_modules::fuzz
