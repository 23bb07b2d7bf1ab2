// The program as a script uses it: its first line, its table, its exit codes.

#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"
#include <sys/wait.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <array>

#include <gmock/gmock.h>

namespace tarvik::simulator {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// Runs the simulator with its stdout and stderr in one pipe; ends it if a test does not.
class program final {
  public:
    explicit program(std::vector<std::string> arguments) {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        output_ = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
        std::string path = SIMULATOR_PROGRAM;
        std::vector<char*> words{path.data()};
        for (std::string& argument : arguments) {
            words.push_back(argument.data());
        }
        words.push_back(nullptr);
        EXPECT_EQ(posix_spawn(&id_, path.c_str(), &actions, nullptr, words.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
    }
    ~program() {
        if (id_ > 0) {
            kill(id_, SIGKILL);
            waitpid(id_, nullptr, 0);
        }
        close(output_);
    }
    program(const program&) = delete;
    program& operator=(const program&) = delete;

    /// What has been printed up to this text, or, if it is empty or never comes, to the end.
    [[nodiscard]] std::string read_to(std::string_view end) const {
        std::string text;
        char byte = 0;
        while ((end.empty() || !text.ends_with(end)) && ::read(output_, &byte, 1) == 1) {
            text += byte;
        }
        return text;
    }
    [[nodiscard]] std::string read_all() const { return read_to(""); }
    void signal(int number) const { kill(id_, number); }
    int exit_code() {
        int status = 0;
        waitpid(id_, &status, 0);
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    pid_t id_ = -1;
    int output_ = -1;
};

TEST(simulator_program, prints_its_endpoint_first_and_ends_cleanly_by_a_signal) {
    for (const int number : {SIGTERM, SIGINT}) {
        program simulator{{"--port", "0", "--users", "--diagnostics", "off", "--no-raid"}};
        const std::string first = simulator.read_to("\n");
        ASSERT_THAT(first, StartsWith("Endpoint: opc.tcp://127.0.0.1:"));
        const std::string url = first.substr(10, first.size() - 11);
        test_client client;
        ASSERT_EQ(
            client.connect(url, {.user = "user1", .password = "password1"}), UA_STATUSCODE_GOOD
        );
        EXPECT_EQ(client.shown("ns=0;i=2294"), "Boolean false");
        simulator.signal(number);
        EXPECT_EQ(simulator.exit_code(), 0);
        const std::string table = simulator.read_all();
        EXPECT_THAT(table, HasSubstr("\nns=2;s=Text.Status  "));
        EXPECT_THAT(table, HasSubstr("\nns=2;s=Modules|CPU|"));
        EXPECT_THAT(table, Not(HasSubstr("RAID")));
        EXPECT_THAT(table, HasSubstr("  \"All systems normal\"  "));
    }
}

TEST(simulator_program, is_quiet_when_asked) {
    program simulator{{"--port=0", "--quiet", "--security", "none,sign", "--log-level", "trace"}};
    EXPECT_THAT(simulator.read_to("\n"), StartsWith("Endpoint: "));
    simulator.signal(SIGTERM);
    EXPECT_EQ(simulator.exit_code(), 0);
    EXPECT_EQ(simulator.read_all(), "");
}

TEST(simulator_program, tells_by_exit_code_and_text_what_is_wrong) {
    plant_server plant;
    plant.start();
    const std::string taken = std::to_string(plant.port());
    struct row {
        std::vector<std::string> arguments;
        int code;
        std::string text;
    };
    for (const row& wrong : {
             row{{"--port", taken}, 1, "127.0.0.1:" + taken + " is in use"},
             row{{"--port", "65536"}, 2, "--port"},
             row{{"--security", "none,strong"}, 2, "--security"},
             row{{"--certificate-bits", "512"}, 2, "--certificate-bits"},
             row{{"--no-anonymous"}, 2, "--users"},
             row{{"--bogus"}, 2, "--bogus"},
             row{{"extra"}, 2, "extra"},
             row{{"--help"}, 0, "Exit codes:"},
         }) {
        program simulator{wrong.arguments};
        EXPECT_THAT(simulator.read_all(), HasSubstr(wrong.text));
        EXPECT_EQ(simulator.exit_code(), wrong.code) << wrong.text;
    }
}

} // namespace
} // namespace tarvik::simulator
