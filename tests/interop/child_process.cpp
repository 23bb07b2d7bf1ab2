#include "tests/interop/child_process.hpp"

#include <sys/socket.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tarvik::monitoring_modules::tests {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

child_process::child_process(std::vector<std::string> command) {
    std::vector<char*> arguments(command.size() + 1, nullptr);
    std::ranges::transform(command, arguments.begin(), [](auto& word) { return word.data(); });
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0 ||
        (pid_ = fork()) == -1) {
        throw std::system_error{errno, std::generic_category(), arguments[0]};
    }
    if (pid_ == 0) { // system calls only: another thread may have held a lock
        dup2(ends[1], STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    socket_ = ends[0];
}

child_process::~child_process() {
    kill(pid_, SIGTERM);
    const auto deadline = steady_clock::now() + 5s;
    while (waitpid(pid_, nullptr, WNOHANG) == 0) {
        if (steady_clock::now() > deadline) {
            kill(pid_, SIGKILL);
        }
        std::this_thread::sleep_for(10ms);
    }
    close(socket_);
}

std::string child_process::read_line(std::chrono::milliseconds patience) {
    for (;;) {
        if (const auto line_end = received_.find('\n'); line_end != std::string::npos) {
            std::string line = received_.substr(0, line_end);
            received_.erase(0, line_end + 1);
            return line;
        }
        pollfd wanted{socket_, POLLIN, 0};
        std::array<char, 512> bytes{};
        const bool speaks = poll(&wanted, 1, static_cast<int>(patience.count())) == 1;
        const ssize_t count = speaks ? recv(socket_, bytes.data(), bytes.size(), 0) : 0;
        if (count <= 0) {
            throw std::runtime_error{speaks ? "the program has ended" : "the program says nothing"};
        }
        received_.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void child_process::write_line(const std::string& line) const {
    const std::string text = line + "\n";
    if (send(socket_, text.data(), text.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(text.size())) {
        throw std::runtime_error{"the program does not listen"};
    }
}

} // namespace tarvik::monitoring_modules::tests
