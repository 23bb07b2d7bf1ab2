#pragma once

// A program that runs beside the test and is spoken to in lines over its standard input and output.

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::tests {

class child_process {
  public:
    /// Starts the program, searched in PATH; its standard error is dropped.
    /// @param command program and arguments, at least one.
    /// @throws std::system_error when there is no such program.
    explicit child_process(const std::vector<std::string>& command);
    /// As end().
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    /// The next line of its output, without the end of line.
    /// @throws std::runtime_error when there is none in time or the program has ended.
    [[nodiscard]] std::string read_line(std::chrono::milliseconds time_out);

    /// @throws std::system_error when the program does not listen any more.
    void write_line(const std::string& line);

    /// Asks the program to end, ends it by force when it does not, and waits for it.
    void end() noexcept;

  private:
    [[nodiscard]] bool has_ended() noexcept;

    int socket_ = -1; // its standard input and output; owned
    pid_t pid_ = -1;  // -1: ended, and waited for
    std::string received_;
};

} // namespace tarvik::monitoring_modules::tests
