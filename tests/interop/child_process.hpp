#pragma once

// A program that runs beside the test and is spoken to in lines over its standard input and output.

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace tarvik::monitoring_modules::tests {

class child_process {
  public:
    /// Starts the program, searched in PATH; its standard error is dropped. One that cannot be
    /// started has ended at once.
    /// @param command program and arguments, at least one.
    explicit child_process(std::vector<std::string> command);
    /// Asks the program to end, ends it by force when it does not, and waits for it.
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    /// The next line of its output, without the end of line.
    /// @throws std::runtime_error when it says nothing for that long or has ended.
    [[nodiscard]] std::string read_line(std::chrono::milliseconds patience);

    /// @throws std::runtime_error when the program does not listen any more.
    void write_line(const std::string& line) const;

  private:
    int socket_ = -1; // its standard input and output; owned
    pid_t pid_ = -1;
    std::string received_;
};

} // namespace tarvik::monitoring_modules::tests
