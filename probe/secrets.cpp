#include "probe/secrets.hpp"

#include "probe/probe_error.hpp"
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <fstream>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_bytes = 1'048'576;

[[noreturn]] void fail(const std::string& path, const char* problem) {
    throw probe_error{exit_code::usage, path + ": " + problem};
}

[[nodiscard]] std::string read_file(const std::string& path) {
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
        if (text.size() > most_bytes) {
            fail(path, "the file is larger than 1 MiB");
        }
    }
    if (file.bad()) {
        fail(path, "the file cannot be read");
    }
    return text;
}

void warn_if_open(const std::string& path, console& terminal) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0) {
        terminal.line("opcua-probe: warning: everybody can read the secret in " + path);
    }
}

/// Editors end a file with a line end; it is no part of the password.
[[nodiscard]] std::string
read_password(const std::string& path, const char* variable, console& terminal) {
    if (path.empty()) {
        const char* value = std::getenv(variable);
        return value == nullptr ? "" : value;
    }
    warn_if_open(path, terminal);
    std::string text = read_file(path);
    if (text.ends_with('\n')) {
        text.pop_back();
        if (text.ends_with('\r')) {
            text.pop_back();
        }
    }
    return text;
}

} // namespace

connection_secrets read_secrets(const connection_arguments& arguments, console& terminal) {
    connection_secrets secrets;
    if (!arguments.user.empty()) {
        secrets.password = read_password(arguments.password_file, "OPCUA_PASSWORD", terminal);
    }
    if (!arguments.client_certificate_file.empty()) {
        secrets.client_certificate = read_file(arguments.client_certificate_file);
    }
    if (!arguments.client_key_file.empty()) {
        warn_if_open(arguments.client_key_file, terminal);
        secrets.client_key = read_file(arguments.client_key_file);
        secrets.client_key_password = read_password(
            arguments.client_key_password_file, "OPCUA_CLIENT_KEY_PASSWORD", terminal
        );
    }
    return secrets;
}

} // namespace tarvik::monitoring_modules::probe
