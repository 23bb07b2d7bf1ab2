#include "bench/plant_farm.hpp"

#include "bench/memory_report.hpp"
#include "simulator/plant_server.hpp"
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>

namespace tarvik::bench {

namespace {

struct order_message {
    char what;
    std::uint64_t plant;
};

/// Sends or receives all bytes of a record.
template <typename Transfer, typename Record>
bool complete(Transfer transfer, int line, Record& record) {
    auto* const bytes = reinterpret_cast<char*>(&record);
    std::size_t done = 0;
    while (done < sizeof record) {
        const ssize_t more = transfer(line, bytes + done, sizeof record - done, MSG_NOSIGNAL);
        if (more > 0) {
            done += static_cast<std::size_t>(more);
        } else if (more == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

void allow_many_descriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

using plants = std::vector<std::unique_ptr<simulator::plant_server>>;

std::uint16_t start_one(plants& all) {
    simulator::plant_options options;
    options.auto_change = false;
    all.push_back(std::make_unique<simulator::plant_server>(std::move(options)));
    all.back()->start();
    return all.back()->port();
}

std::uint64_t read_requests_of(const plants& all) {
    std::uint64_t sum = 0;
    for (const auto& plant : all) {
        sum += plant->read_request_count();
    }
    return sum;
}

std::uint64_t obey(const order_message& order, plants& all) {
    switch (order.what) {
    case 's':
        return start_one(all);
    case 'f':
        all.at(order.plant)->freeze();
        return 0;
    case 't':
        all.at(order.plant)->thaw();
        return 0;
    default:
        return read_requests_of(all);
    }
}

/// The child's life. The plants are not stopped one by one: their sockets end with the process.
[[noreturn]] void live_as_child(int line) {
    try {
        plants all;
        order_message order{};
        while (complete(recv, line, order)) {
            std::uint64_t answer = obey(order, all);
            complete(send, line, answer);
        }
        _exit(0);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "plants for the benchmark: %s\n", error.what()));
        _exit(1);
    }
}

} // namespace

plant_farm::plant_farm() {
    allow_many_descriptors();
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error{"no line to a child process"};
    }
    child_ = fork();
    if (child_ == 0) {
        close(ends[0]);
        live_as_child(ends[1]);
    }
    close(ends[1]);
    line_ = ends[0];
    if (child_ < 0) {
        close(line_);
        throw std::runtime_error{"no child process"};
    }
}

plant_farm::~plant_farm() {
    close(line_);
    waitpid(child_, nullptr, 0);
}

std::uint16_t plant_farm::start_plant() const {
    return static_cast<std::uint16_t>(order('s'));
}

void plant_farm::freeze(std::size_t plant) const {
    static_cast<void>(order('f', plant));
}

void plant_farm::thaw(std::size_t plant) const {
    static_cast<void>(order('t', plant));
}

std::uint64_t plant_farm::read_requests() const {
    return order('r');
}

double plant_farm::resident_mib() const {
    return resident_kib(std::to_string(child_)) / 1024;
}

std::uint64_t plant_farm::order(char what, std::uint64_t plant) const {
    order_message message{what, plant};
    std::uint64_t answer = 0;
    if (!complete(send, line_, message) || !complete(recv, line_, answer)) {
        throw std::runtime_error{"the plants' process is gone"};
    }
    return answer;
}

} // namespace tarvik::bench
