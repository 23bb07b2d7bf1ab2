#include "explorer/new_file.hpp"

#include "host/file_descriptor.hpp"
#include "host/probe_error.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace {

[[noreturn]] void fail(const std::string& path) {
    throw probe_error{
        exit_code::error, path + ": cannot be written: " + std::generic_category().message(errno)};
}

void write_all(int file, std::string_view text, const std::string& path) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            fail(path);
        }
        text.remove_prefix(static_cast<std::size_t>(written < 0 ? 0 : written));
    }
}

} // namespace

void require_new_file(const std::string& path, bool replace) {
    if (!replace && ::access(path.c_str(), F_OK) == 0) {
        throw usage_error{path + " is there already; --force replaces it"};
    }
}

void write_new_file(const std::string& path, std::string_view text, bool replace) {
    const std::string made = replace ? path + ".new" : path;
    file_descriptor file{
        ::open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640)};
    if (file.get() < 0) {
        fail(made);
    }
    try {
        write_all(file.get(), text, made);
        if (replace && std::rename(made.c_str(), path.c_str()) != 0) {
            fail(path);
        }
    } catch (const probe_error&) {
        ::unlink(made.c_str());
        throw;
    }
}

} // namespace tarvik::monitoring_modules::probe
