#include "bench/probe_process.hpp"

#include "bench/cores.hpp"
#include "bench/memory_report.hpp"
#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tarvik::bench {

namespace {

class open_socket final {
  public:
    explicit open_socket(std::uint16_t port)
        : descriptor_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ =
            ::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
            0;
    }
    ~open_socket() { ::close(descriptor_); }
    open_socket(const open_socket&) = delete;
    open_socket& operator=(const open_socket&) = delete;

    [[nodiscard]] std::string ask(const std::string& request) const {
        std::string answer;
        if (!connected_ || ::send(descriptor_, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
            return answer;
        }
        std::array<char, 65'536> block{};
        for (ssize_t got = 0; (got = ::recv(descriptor_, block.data(), block.size(), 0)) > 0;) {
            answer.append(block.data(), static_cast<std::size_t>(got));
        }
        return answer;
    }

  private:
    int descriptor_;
    bool connected_ = false;
};

/// Runs the program with its standard error in a pipe.
/// @return the pipe's end to read from
int start(const std::string& configuration_path, pid_t& child) {
    std::array<int, 2> line{};
    if (pipe2(line.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error{"there is no pipe to be had"};
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, line[1], STDERR_FILENO);
    std::string program = PROBE_PROGRAM;
    std::string command = "serve";
    std::string option = "--config=" + configuration_path;
    std::array<char*, 4> arguments{program.data(), command.data(), option.data(), nullptr};
    const int failed =
        posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(line[1]);
    if (failed != 0) {
        throw std::runtime_error{"opcua-probe could not be started"};
    }
    return line[0];
}

/// @return the port in "Serving http://127.0.0.1:PORT/"; 0: it ended before
std::uint16_t read_port(int line) {
    std::string text;
    const std::string before = "Serving http://127.0.0.1:";
    for (char byte = 0; ::read(line, &byte, 1) == 1;) {
        text += byte;
        const std::size_t found = text.find(before);
        if (found != std::string::npos && byte == '\n') {
            return static_cast<std::uint16_t>(std::stoi(text.substr(found + before.size())));
        }
    }
    static_cast<void>(std::fprintf(stderr, "%s", text.c_str()));
    return 0;
}

} // namespace

probe_process::probe_process(const std::string& configuration) {
    std::string folder = (std::filesystem::temp_directory_path() / "bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error{"there is no folder for a configuration"};
    }
    folder_ = folder;
    std::ofstream{folder_ + "/probe.yaml"} << configuration;
    const int line = start(folder_ + "/probe.yaml", child_);
    const cpu_set_t cores = first_core();
    sched_setaffinity(child_, sizeof cores, &cores);
    port_ = read_port(line); // the pipe stays open: the program may write on
    if (port_ == 0) {
        throw std::runtime_error{"opcua-probe does not serve"};
    }
}

probe_process::~probe_process() {
    ::kill(child_, SIGTERM);
    ::waitpid(child_, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string probe_process::get(const std::string& path) const {
    const std::string answer = open_socket{port_}.ask(
        "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n"
    );
    const std::size_t body = answer.find("\r\n\r\n");
    return body == std::string::npos ? "" : answer.substr(body + 4);
}

double probe_process::resident_mib() const {
    return resident_kib(std::to_string(child_)) / 1024;
}

double probe_process::cpu_seconds() const {
    std::ifstream file{"/proc/" + std::to_string(child_) + "/stat"};
    std::string text;
    std::getline(file, text);
    std::istringstream fields{text.substr(text.rfind(')') + 1)}; // behind the program's name
    std::string skipped;
    for (int i = 3; i < 14; ++i) { // utime is field 14, stime 15 (proc(5))
        fields >> skipped;
    }
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::uint64_t probe_process::context_switches() const {
    std::uint64_t sum = 0;
    const std::string threads = "/proc/" + std::to_string(child_) + "/task";
    for (const auto& thread : std::filesystem::directory_iterator{threads}) {
        std::ifstream file{thread.path() / "status"};
        for (std::string line; std::getline(file, line);) {
            const std::size_t name = line.find("ctxt_switches:");
            if (name != std::string::npos) {
                sum += std::stoull(line.substr(line.find(':') + 1));
            }
        }
    }
    return sum;
}

} // namespace tarvik::bench
