#include "probe/child_process.hpp"
#include "terminal/interruption.hpp"
#include "tests/host/expect_error.hpp"
#include <sys/wait.h>

#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace tarvik::monitoring_modules::probe {
namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;

TEST(interruption, wakes_a_wait_and_remembers_the_signal) {
    console terminal;
    interruption interrupt{terminal};
    EXPECT_FALSE(interrupt.wait_until(clock::now()));
    ASSERT_EQ(kill(getpid(), SIGTERM), 0);
    EXPECT_TRUE(interrupt.wait_until(clock::now() + 20s));
    EXPECT_EQ(interrupt.signal(), SIGTERM);
}

TEST(interruption, a_second_signal_ends_at_once) {
    EXPECT_EXIT(
        {
            console terminal;
            interruption interrupt{terminal};
            kill(getpid(), SIGINT);
            (void)interrupt.wait_until(clock::now() + 20s);
            kill(getpid(), SIGINT);
            sleep(20);
        },
        testing::ExitedWithCode(130),
        ""
    );
}

class started_child : public testing::Test {
  protected:
    /// @return the first line of a shell script
    std::optional<std::string>
    run(const std::string& script, std::chrono::milliseconds limit = 20s) {
        child_process child{"/bin/sh", {"-c", script}};
        return child.first_line(limit, interrupt_);
    }

    console terminal_;
    interruption interrupt_{terminal_};
};

TEST_F(started_child, gives_its_first_line) {
    EXPECT_EQ(run("echo one; echo two; sleep 20"), "one");
    EXPECT_EQ(run("printf o; sleep 0.1; echo ne; exit"), "one");
    EXPECT_EQ(run("cat; echo end of input"), "end of input");
}

TEST_F(started_child, may_have_no_first_line) {
    EXPECT_EQ(run("printf unfinished"), std::nullopt);
    EXPECT_EQ(run("sleep 20", 100ms), std::nullopt);
    EXPECT_EQ(run("yes | tr -d '\\n'"), std::nullopt);
    ASSERT_EQ(kill(getpid(), SIGINT), 0);
    EXPECT_EQ(run("sleep 20"), std::nullopt);
}

TEST_F(started_child, ends_with_its_owner_even_when_it_talks_on_or_does_not_listen) {
    const auto start = clock::now();
    EXPECT_EQ(run("echo x; exec yes"), "x");
    EXPECT_LT(clock::now() - start, 2s) << "it should end when asked to";
    EXPECT_EQ(run("trap '' TERM; echo x; while :; do sleep 0.1; done"), "x");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(child_process, tells_why_it_cannot_start) {
    expect_error(
        [] {
            const child_process child{"/no/such/program", {}};
        },
        exit_code::not_loaded,
        "No such file"
    );
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
