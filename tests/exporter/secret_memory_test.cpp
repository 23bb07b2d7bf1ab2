// A password that is not needed any more is not in the program's memory any more.

#include "tests/exporter/serving_probe.hpp"

#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

namespace tarvik::monitoring_modules::probe {
namespace {

/// @return how often a text stands in the writable memory of a process
std::size_t count_in_memory(pid_t process, const std::string& text) {
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream maps{folder + "/maps"};
    std::ifstream memory{folder + "/mem", std::ios::binary};
    std::size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream words{line};
        std::size_t begin = 0;
        std::size_t end = 0;
        char dash = 0;
        std::string rights;
        words >> std::hex >> begin >> dash >> end >> rights;
        if (!rights.starts_with("rw")) {
            continue;
        }
        std::string bytes(end - begin, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        for (std::size_t at = 0; (at = bytes.find(text, at)) != std::string::npos; ++at) {
            ++count;
        }
    }
    return count;
}

TEST(secret_memory, is_overwritten_when_it_is_given_back) {
    const std::string password = "only-here-4711-and-nowhere-else";
    const auto module = [](const std::string& settings) {
        return "modules:\n  a: {kind: server_status_sensor" + settings + "}\n";
    };
    const serving_probe probe{module(", settings: {user: u, password: " + password + "}")};
    EXPECT_GT(count_in_memory(probe.process(), password), 0U);
    probe.configure(module(""));
    probe.signal(SIGHUP);
    EXPECT_THAT(probe.read_to("read again"), testing::HasSubstr("read again"));
    EXPECT_TRUE(comes_true([&] { return count_in_memory(probe.process(), password) == 0; }));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
