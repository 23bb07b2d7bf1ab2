#include "probe/child_process.hpp"

#include "host/probe_error.hpp"
#include <sys/prctl.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t longest_line = 4096;
constexpr std::chrono::milliseconds patience{3000};
constexpr std::chrono::milliseconds slice{50};

/// Closes both ends.
struct pipe_ends {
    std::array<int, 2> ends = [] {
        std::array<int, 2> made{};
        if (pipe2(made.data(), O_CLOEXEC) != 0) {
            throw std::system_error{errno, std::generic_category(), "pipe2"};
        }
        return made;
    }();
    file_descriptor read{ends[0]};
    file_descriptor write{ends[1]};
};

/// Runs in the child, where other threads' locks may be held for ever: only calls that are safe
/// there.
[[noreturn]] void become(char* const* arguments, int output, int report, pid_t parent) noexcept {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
        _exit(1); // the parent ended in between
    }
    setpgid(0, 0);
    sigset_t none{};
    sigemptyset(&none);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread, just forked
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0) {
        execv(arguments[0], arguments);
    }
    const int problem = errno;
    const ssize_t written = write(report, &problem, sizeof problem);
    _exit(written == static_cast<ssize_t>(sizeof problem) ? 127 : 126);
}

/// @return 0 once the program runs, else the errno of starting it
[[nodiscard]] int wait_for_start(int report) noexcept {
    int problem = 0;
    const ssize_t got = TEMP_FAILURE_RETRY(read(report, &problem, sizeof problem));
    return got == static_cast<ssize_t>(sizeof problem) ? problem : 0;
}

// To its whole group, so that what it started ends, too.
void end(pid_t id) noexcept {
    kill(-id, SIGTERM);
    const auto limit = std::chrono::steady_clock::now() + patience;
    while (waitpid(id, nullptr, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= limit) {
            kill(-id, SIGKILL);
            waitpid(id, nullptr, 0);
            return;
        }
        poll(nullptr, 0, 10);
    }
}

/// @return false when nothing can be read within one slice of time
[[nodiscard]] bool readable(int descriptor) noexcept {
    pollfd source{descriptor, POLLIN, 0};
    return poll(&source, 1, static_cast<int>(slice.count())) > 0;
}

} // namespace

child_process::child_process(
    const std::filesystem::path& program, const std::vector<std::string>& arguments
) {
    std::vector<std::string> texts{program.string()};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    pipe_ends output;
    pipe_ends report;
    const pid_t parent = getpid();
    id_ = fork(); // NOLINT(cppcoreguidelines-prefer-member-initializer): after the pipes
    if (id_ == 0) {
        become(pointers.data(), output.write.get(), report.write.get(), parent);
    }
    if (id_ < 0) {
        throw std::system_error{errno, std::generic_category(), "fork"};
    }
    report.write.close();
    if (const int problem = wait_for_start(report.read.get()); problem != 0) {
        waitpid(id_, nullptr, 0);
        throw probe_error{
            exit_code::not_loaded,
            program.string() +
                " could not be started: " + std::generic_category().message(problem)};
    }
    output_.swap(output.read);
}

child_process::~child_process() {
    end(id_);
}

std::optional<std::string>
child_process::first_line(std::chrono::milliseconds limit, interruption& interrupt) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::string text;
    while (text.find('\n') == std::string::npos) {
        if (interrupt.requested() || std::chrono::steady_clock::now() >= deadline ||
            text.size() > longest_line) {
            return std::nullopt;
        }
        if (!readable(output_.get())) {
            continue;
        }
        std::array<char, 512> block{};
        const ssize_t got = read(output_.get(), block.data(), block.size());
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return std::nullopt;
        }
        text.append(block.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
    }
    // A program that nobody listens to would stop at a full pipe.
    discarding_ = std::jthread{[output = output_.get()](const std::stop_token& stop) {
        std::array<char, 4096> block{};
        while (!stop.stop_requested()) {
            if (readable(output) && read(output, block.data(), block.size()) <= 0 &&
                errno != EINTR) {
                return;
            }
        }
    }};
    return text.substr(0, text.find('\n'));
}

} // namespace tarvik::monitoring_modules::probe
