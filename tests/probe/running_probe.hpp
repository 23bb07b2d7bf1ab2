#pragma once
// The built opcua-probe as a child, with its standard output and standard error in one pipe.

#include "tests/probe/own_state.hpp"
#include <sys/wait.h>

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

class running_probe final {
  public:
    /// Finds module and simulator beside the program, whatever the environment says.
    /// @param state the folder of what it keeps; empty: own_state
    explicit running_probe(
        const std::vector<std::string>& arguments, const std::string& state = ""
    ) {
        std::string command =
            "unset OPCUA_MODULE OPCUA_PASSWORD OPCUA_CLIENT_KEY_PASSWORD; STATE_DIRECTORY=" +
            quoted(state.empty() ? own_state() : state) + " exec 2>&1 '" PROBE_PROGRAM "'";
        for (const std::string& argument : arguments) {
            command += " " + quoted(argument);
        }
        // NOLINTNEXTLINE(cert-env33-c): our own program, its arguments quoted
        output_ = popen(command.c_str(), "r");
        EXPECT_NE(output_, nullptr) << command;
    }
    ~running_probe() { static_cast<void>(exit_code()); }
    running_probe(const running_probe&) = delete;
    running_probe& operator=(const running_probe&) = delete;

    /// What it prints up to this text, or to its end.
    std::string read_to(const std::string& end) {
        std::string text;
        for (int byte = 0; !text.ends_with(end) && (byte = std::fgetc(output_)) != EOF;) {
            text += static_cast<char>(byte);
        }
        return text;
    }
    std::string read_all() {
        std::string text;
        for (int byte = 0; (byte = std::fgetc(output_)) != EOF;) {
            text += static_cast<char>(byte);
        }
        return text;
    }

    /// Waits for its end. @return -1 when a signal ended it, or when asked again
    int exit_code() {
        if (output_ == nullptr) {
            return -1;
        }
        const int status = pclose(output_);
        output_ = nullptr;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    static std::string quoted(const std::string& text) {
        std::string result = "'";
        for (const char byte : text) {
            result += byte == '\'' ? std::string{"'\\''"} : std::string{byte};
        }
        return result + "'";
    }

    std::FILE* output_ = nullptr;
};

} // namespace tarvik::monitoring_modules::probe
