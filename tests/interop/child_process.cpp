#include "tests/interop/child_process.hpp"

#include <sys/socket.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tarvik::monitoring_modules::tests {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

void require(int error, const char* step) {
    if (error != 0) {
        throw std::system_error{error, std::generic_category(), step};
    }
}

/// Closes a file descriptor.
class descriptor {
  public:
    explicit descriptor(int number) noexcept : number_{number} {}
    ~descriptor() { close(number_); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    [[nodiscard]] int get() const noexcept { return number_; }

  private:
    int number_;
};

/// What the child does before it becomes the program.
class spawn_actions {
  public:
    spawn_actions() { require(posix_spawn_file_actions_init(&actions_), "spawn actions"); }
    ~spawn_actions() { posix_spawn_file_actions_destroy(&actions_); }
    spawn_actions(const spawn_actions&) = delete;
    spawn_actions& operator=(const spawn_actions&) = delete;
    posix_spawn_file_actions_t* get() noexcept { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

child_process::child_process(const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        require(errno, "socketpair");
    }
    const descriptor theirs{ends[1]};
    spawn_actions actions;
    require(posix_spawn_file_actions_adddup2(actions.get(), theirs.get(), STDIN_FILENO), "stdin");
    require(posix_spawn_file_actions_adddup2(actions.get(), theirs.get(), STDOUT_FILENO), "stdout");
    require(
        posix_spawn_file_actions_addopen(
            actions.get(), STDERR_FILENO, "/dev/null", O_WRONLY | O_CLOEXEC, 0
        ),
        "stderr"
    );
    std::vector<std::string> words{command};
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const int error =
        posix_spawnp(&pid_, arguments[0], actions.get(), nullptr, arguments.data(), environ);
    if (error != 0) {
        close(ends[0]);
        require(error, arguments[0]);
    }
    socket_ = ends[0];
}

child_process::~child_process() {
    end();
    close(socket_);
}

std::string child_process::read_line(std::chrono::milliseconds time_out) {
    const auto deadline = steady_clock::now() + time_out;
    for (;;) {
        if (const auto line_end = received_.find('\n'); line_end != std::string::npos) {
            std::string line = received_.substr(0, line_end);
            received_.erase(0, line_end + 1);
            return line;
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
        pollfd wanted{socket_, POLLIN, 0};
        if (left <= 0 || poll(&wanted, 1, static_cast<int>(left)) <= 0) {
            throw std::runtime_error{"the program says nothing"};
        }
        std::array<char, 512> bytes{};
        const ssize_t count = recv(socket_, bytes.data(), bytes.size(), 0);
        if (count <= 0) {
            throw std::runtime_error{"the program has ended"};
        }
        received_.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void child_process::write_line(const std::string& line) {
    const std::string text = line + "\n";
    if (send(socket_, text.data(), text.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(text.size())) {
        require(errno, "the program does not listen");
    }
}

bool child_process::has_ended() noexcept {
    if (pid_ != -1 && waitpid(pid_, nullptr, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ == -1;
}

void child_process::end() noexcept {
    if (has_ended()) {
        return;
    }
    kill(pid_, SIGTERM);
    for (const auto deadline = steady_clock::now() + 5s; !has_ended();) {
        if (steady_clock::now() > deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
            return;
        }
        std::this_thread::sleep_for(10ms);
    }
}

} // namespace tarvik::monitoring_modules::tests
