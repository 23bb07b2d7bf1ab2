// What the program keeps between its calls: where, for whom, and who may make it.

#include "host/kept_state.hpp"
#include <sys/stat.h>
#include <sys/wait.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* name = "a-name";

struct state : testing::Test {
    state() {
        std::string pattern = testing::TempDir() + "probe_state_XXXXXX";
        root = mkdtemp(pattern.data());
        path = root / "base" / "state";
    }
    ~state() override {
        for (const char* variable : {"STATE_DIRECTORY", "XDG_STATE_HOME", "HOME"}) {
            unsetenv(variable); // NOLINT(concurrency-mt-unsafe): one thread
        }
        fs::remove_all(root);
    }

    [[nodiscard]] std::string load(kept_state& kept) const {
        const auto found = kept.load(name);
        return found ? std::string{found->bytes.begin(), found->bytes.end()} : "nothing";
    }
    [[nodiscard]] std::unique_ptr<kept_state> open(std::chrono::milliseconds wait = 60s) {
        return std::make_unique<kept_state>(
            nullptr, path, [this](const std::string& text) { told += text + "\n"; }, wait
        );
    }
    [[nodiscard]] mode_t mode_of(const fs::path& file) const {
        struct stat status {};
        EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
        return status.st_mode & 07777U;
    }
    void put(const fs::path& file, const std::string& text, mode_t mode = 0600) const {
        std::ofstream{file} << text;
        EXPECT_EQ(chmod(file.c_str(), mode), 0);
    }

    fs::path root;
    fs::path path;
    std::string told;
};

TEST_F(state, stands_where_the_environment_says) {
    const struct {
        const char* systemd;
        const char* xdg;
        const char* home;
        const char* path;
    } rows[] = {
        {"/var/lib/a", "/x", "/h", "/var/lib/a"},
        {"/var/lib/a:/var/lib/b", "/x", "/h", "/var/lib/a"},
        {"", "/x", "/h", "/x/opcua-probe"},
        {"a", "x", "/h", "/h/.local/state/opcua-probe"},
        {nullptr, nullptr, "/h", "/h/.local/state/opcua-probe"},
        {nullptr, nullptr, "h", ""},
        {nullptr, nullptr, nullptr, ""},
    };
    for (const auto& row : rows) {
        const auto set = [](const char* variable, const char* value) {
            // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
            value == nullptr ? unsetenv(variable) : setenv(variable, value, 1);
        };
        set("STATE_DIRECTORY", row.systemd);
        set("XDG_STATE_HOME", row.xdg);
        set("HOME", row.home);
        EXPECT_EQ(state_folder_path(), row.path);
    }
}

TEST_F(state, is_for_its_user_alone) {
    const auto kept = open();
    EXPECT_EQ(load(*kept), "nothing");
    EXPECT_TRUE(kept->save(name, "first"));
    EXPECT_EQ(load(*kept), "first");
    EXPECT_EQ(mode_of(path.parent_path()), 0700U);
    EXPECT_EQ(mode_of(path), 0700U);
    EXPECT_EQ(mode_of(path / name), 0600U);
    EXPECT_EQ(load(*open()), "first");
    EXPECT_EQ(told, "");
}

TEST_F(state, is_not_used_where_others_have_a_hand_in) {
    const auto elsewhere = [this] { return fs::exists(root / "elsewhere" / name); };
    const struct {
        std::function<void()> make;
        const char* problem;
    } rows[] = {
        {[&] { chmod(path.c_str(), 0750); }, "others may open it"},
        {[&] { chmod(path.c_str(), 0701); }, "others may open it"},
        {[&] {
             fs::rename(path, root / "elsewhere");
             fs::create_directory_symlink(root / "elsewhere", path);
         },
         "Not a directory"},
        {[&] {
             fs::remove(path);
             put(path, "no folder");
         },
         "Not a directory"},
        {[&] { ASSERT_EQ(chown(path.c_str(), 1, 1), 0); }, "it belongs to another user"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.problem);
        if (std::string_view{row.problem} == "it belongs to another user" && geteuid() != 0) {
            continue; // only root can make it so
        }
        fs::remove_all(root / "elsewhere");
        fs::remove_all(path);
        fs::create_directories(path);
        chmod(path.c_str(), 0700);
        row.make();
        told.clear();
        const auto kept = open();
        EXPECT_EQ(load(*kept), "nothing");
        EXPECT_FALSE(kept->save(name, "x"));
        EXPECT_FALSE(elsewhere());
        EXPECT_THAT(told, HasSubstr("Not kept: " + path.string() + ": " + row.problem));
    }
}

TEST_F(state, replaces_files_that_are_not_to_be_trusted) {
    const fs::path file = path / name;
    const fs::path target = root / "target";
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { put(file, "x", 0640); }, "others may open it"},
        {[&] { put(file, "x", 0604); }, "others may open it"},
        {[&] { fs::create_symlink(target, file); }, "Too many levels of symbolic links"},
        {[&] { EXPECT_EQ(mkfifo(file.c_str(), 0600), 0); }, "no file of a usable size"},
        {[&] { put(file, std::string(65'537, 'x')); }, "no file of a usable size"},
        {[&] {
             put(path / "a-name.new", "left behind", 0644);
             fs::create_symlink(target, file);
         },
         "Too many levels of symbolic links"},
    };
    for (const auto& [make, problem] : rows) {
        SCOPED_TRACE(problem);
        fs::remove_all(path);
        fs::create_directories(path);
        chmod(path.c_str(), 0700);
        put(target, "of somebody else");
        make();
        told.clear();
        const auto kept = open();
        EXPECT_EQ(load(*kept), "nothing");
        EXPECT_THAT(told, HasSubstr(problem));
        EXPECT_TRUE(kept->save(name, "new"));
        EXPECT_EQ(load(*open()), "new");
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(file)));
        EXPECT_EQ(mode_of(file), 0600U);
        std::string text;
        std::getline(std::ifstream{target}, text);
        EXPECT_EQ(text, "of somebody else");
    }
}

TEST_F(state, is_kept_by_the_one_that_makes_it) {
    const auto kept = open();
    EXPECT_FALSE(kept->save(name, "x")); // it was not to make anything
    EXPECT_EQ(load(*kept), "nothing");
    EXPECT_FALSE(kept->save("../a", "x"));
    EXPECT_FALSE(kept->load("../a"));
    EXPECT_FALSE(kept->load(""));
    EXPECT_TRUE(kept->save(name, "one"));
    EXPECT_FALSE(kept->save(name, "two"));
    EXPECT_EQ(load(*kept), "one");
    EXPECT_EQ(load(*kept), "nothing"); // that was no good: it makes another
    EXPECT_TRUE(kept->save(name, "two"));
    EXPECT_EQ(load(*kept), "two");
}

TEST_F(state, is_made_by_one_process_while_others_wait) {
    const auto maker = open();
    EXPECT_EQ(load(*maker), "nothing");
    const auto hasty = open(0ms);
    EXPECT_EQ(load(*hasty), "nothing"); // waited long enough, makes its own
    EXPECT_FALSE(hasty->save(name, "of its own"));
    EXPECT_THAT(told, HasSubstr("another process has held the lock for long"));
    const pid_t other = fork();
    if (other == 0) {
        _exit(load(*open()) == "made" ? 0 : 1);
    }
    EXPECT_EQ(waitpid(other, nullptr, WNOHANG), 0);
    EXPECT_TRUE(maker->save(name, "made"));
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
}

TEST_F(state, that_is_of_no_use_is_made_anew_once) {
    fs::create_directories(path);
    chmod(path.c_str(), 0700);
    put(path / name, "expired");
    const auto first = open();
    const auto second = open();
    EXPECT_EQ(load(*first), "expired");
    EXPECT_EQ(load(*second), "expired");
    EXPECT_EQ(load(*first), "nothing"); // asked again: it makes one
    EXPECT_TRUE(first->save(name, "fresh"));
    EXPECT_EQ(load(*second), "fresh");
    EXPECT_EQ(told, "");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
