#pragma once
// A program that this one started, and that ends with it.

#include "host/file_descriptor.hpp"
#include "terminal/interruption.hpp"
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// Runs in a process group of its own, so that Ctrl-C reaches only us and we end it when we are
/// done with it. If we are killed, the kernel ends it. Its standard input is empty, its standard
/// error is ours.
class child_process final {
  public:
    /// To be made by the thread that lives longest: the program ends with this thread.
    /// @throws probe_error (not_loaded) when it cannot be started
    child_process(const std::filesystem::path& program, const std::vector<std::string>& arguments);
    /// Asks it to end, and after 3 s makes it.
    ~child_process();
    child_process(const child_process&) = delete;
    child_process& operator=(const child_process&) = delete;

    /// @return the first line that it writes, without its end; nothing when it ends, takes longer
    /// than the time limit, writes more than 4096 bytes without a line end, or when interrupted.
    /// What follows is thrown away. To be called once.
    [[nodiscard]] std::optional<std::string>
    first_line(std::chrono::milliseconds limit, interruption& interrupt);

  private:
    file_descriptor output_;
    pid_t id_ = -1;
    std::jthread discarding_; // reads what follows the first line
};

} // namespace tarvik::monitoring_modules::probe
