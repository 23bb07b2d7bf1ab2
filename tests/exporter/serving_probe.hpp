#pragma once
// The built `opcua-probe serve` as a child, and what it answers.

#include "tests/exporter/http_client.hpp"
#include "tests/probe/own_state.hpp"
#include "tests/support/patience.hpp"
#include <sys/stat.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tarvik::monitoring_modules::probe {

using test_support::comes_true;

class serving_probe final {
  public:
    /// @param configuration YAML, without "listen"
    /// @param state the folder of what it keeps; empty: own_state
    explicit serving_probe(const std::string& configuration, const std::string& state = "") {
        std::string name = testing::TempDir() + "serving-XXXXXX";
        folder_ = mkdtemp(name.data());
        configure(configuration);
        std::array<int, 2> line{};
        if (pipe2(line.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error{"there is no pipe to be had"};
        }
        errors_.emplace(line[0]);
        const std::string option = "--config=" + path();
        child_ = fork();
        if (child_ == 0) {
            dup2(line[1], STDERR_FILENO);
            struct stat status {}; // as a service, whose lines have severities
            fstat(STDERR_FILENO, &status);
            const std::string stream =
                std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
            setenv("JOURNAL_STREAM", stream.c_str(), 1);
            unsetenv("OPCUA_MODULE");
            setenv("STATE_DIRECTORY", state.empty() ? own_state().c_str() : state.c_str(), 1);
            execl(PROBE_PROGRAM, PROBE_PROGRAM, "serve", option.c_str(), nullptr);
            _exit(127);
        }
        close(line[1]);
        const std::string begin = read_to("Serving http://127.0.0.1:");
        port_ = static_cast<std::uint16_t>(std::stoi("0" + read_to("/")));
        if (port_ == 0) {
            throw std::runtime_error{"it does not serve: " + begin};
        }
    }
    ~serving_probe() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        std::filesystem::remove_all(folder_);
    }
    serving_probe(const serving_probe&) = delete;
    serving_probe& operator=(const serving_probe&) = delete;

    void configure(const std::string& configuration) const {
        std::filesystem::remove(path());
        std::ofstream file{path()};
        std::filesystem::permissions(path(), std::filesystem::perms::owner_read);
        file << "listen: {port: 0}\n" << configuration;
    }
    [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
    [[nodiscard]] pid_t process() const noexcept { return child_; }
    void signal(int number) const { kill(child_, number); }

    /// What it writes on standard error, up to this text or its end.
    [[nodiscard]] std::string read_to(const std::string& end) const {
        std::string text;
        for (char byte = 0; !text.ends_with(end) && read(errors_->get(), &byte, 1) == 1;) {
            text += byte;
        }
        return text;
    }

    /// @return its exit code; -1 when a signal ended it
    int wait_for_end() {
        int status = 0;
        waitpid(child_, &status, 0);
        child_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// @return head and body
    [[nodiscard]] std::string ask(const std::string& path, const std::string& headers = "") const {
        http_client client{port_};
        client.send(
            "GET " + path + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + headers +
            "\r\n"
        );
        return client.receive();
    }
    [[nodiscard]] nlohmann::json json(const std::string& path) const {
        const std::string answer = ask(path);
        return nlohmann::json::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false);
    }

    /// @return the value of a series of /metrics, as text; empty without one
    [[nodiscard]] std::string metric(const std::string& series) const {
        const std::string text = ask("/metrics");
        const std::size_t at = text.find("\n" + series + " ");
        const std::size_t begin = at + series.size() + 2;
        return at == std::string::npos ? "" : text.substr(begin, text.find('\n', begin) - begin);
    }

  private:
    [[nodiscard]] std::string path() const { return folder_ + "/probe.yaml"; }

    std::string folder_;
    std::optional<file_descriptor> errors_;
    pid_t child_ = -1;
    std::uint16_t port_ = 0;
};

} // namespace tarvik::monitoring_modules::probe
