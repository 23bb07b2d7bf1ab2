#include "host/secret_file.hpp"

#include "host/probe_error.hpp"
#include <sys/stat.h>

#include <array>
#include <fstream>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t bytes_of_mebibyte = 1'048'576;

[[noreturn]] void fail(const std::string& path, const std::string& problem) {
    throw usage_error{path + ": " + problem};
}

} // namespace

std::string read_file(const std::string& path, std::size_t most_mebibytes) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode)) {
        fail(path, "no such file");
    }
    std::ifstream file{path, std::ios::binary};
    if (!file) {
        fail(path, "the file cannot be read");
    }
    std::string text;
    std::array<char, 4096> block{};
    while (file.read(block.data(), block.size()) || file.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
        if (text.size() > most_mebibytes * bytes_of_mebibyte) {
            fail(path, "the file is larger than " + std::to_string(most_mebibytes) + " MiB");
        }
    }
    if (file.bad()) {
        fail(path, "the file cannot be read");
    }
    return text;
}

bool is_open_to_all(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0;
}

std::string open_secret_warning(const std::string& path) {
    return "opcua-probe: warning: everybody can read the secret in " + path;
}

std::string without_line_end(std::string text) {
    if (text.ends_with('\n')) {
        text.pop_back();
        if (text.ends_with('\r')) {
            text.pop_back();
        }
    }
    return text;
}

} // namespace tarvik::monitoring_modules::probe
