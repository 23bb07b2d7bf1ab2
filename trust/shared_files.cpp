#include "trust/shared_files.hpp"

#include "host/probe_error.hpp"
#include <sys/file.h>
#include <sys/stat.h>

#include <fcntl.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace tarvik::monitoring_modules::probe {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const fs::path& path) {
    throw probe_error{
        exit_code::error, path.string() + ": " + std::generic_category().message(errno)};
}

void write_all(int descriptor, std::string_view bytes, const fs::path& path) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            fail(path);
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    if (::fsync(descriptor) != 0) {
        fail(path);
    }
}

void give_to_owner_of(const fs::path& folder, int descriptor) {
    struct stat status {};
    if (::geteuid() == 0 && ::stat(folder.c_str(), &status) == 0 && status.st_uid != 0 &&
        ::fchown(descriptor, status.st_uid, status.st_gid) != 0) {
        fail(folder);
    }
}

/// Removes the file unless it got its name.
class unfinished_file final {
  public:
    explicit unfinished_file(std::string path) : path_{std::move(path)} {}
    ~unfinished_file() {
        if (!path_.empty()) {
            ::unlink(path_.c_str());
        }
    }
    unfinished_file(const unfinished_file&) = delete;
    unfinished_file& operator=(const unfinished_file&) = delete;

    void rename(const fs::path& to) {
        if (::rename(path_.c_str(), to.c_str()) != 0) {
            fail(to);
        }
        path_.clear();
    }

  private:
    std::string path_;
};

} // namespace

void make_shared_folder(const fs::path& path) {
    fs::path made;
    for (const fs::path& name : path) {
        made /= name;
        if (::mkdir(made.c_str(), S_IRWXU) == 0) {
            const file_descriptor folder{::open(made.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
            give_to_owner_of(made.parent_path(), folder.get());
        } else if (errno != EEXIST && errno != EROFS && errno != EACCES) {
            fail(made);
        }
    }
}

void replace_file(const fs::path& path, std::string_view bytes, readers for_whom) {
    make_shared_folder(path.parent_path());
    std::string next = path.string() + ".XXXXXX";
    const file_descriptor file{::mkostemp(next.data(), O_CLOEXEC)}; // for its owner alone
    if (file.get() < 0) {
        fail(path);
    }
    unfinished_file unfinished{next};
    give_to_owner_of(path.parent_path(), file.get());
    constexpr mode_t for_all = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    if (for_whom == readers::all && ::fchmod(file.get(), for_all) != 0) {
        fail(path);
    }
    write_all(file.get(), bytes, path);
    unfinished.rename(path);
}

void lock_file(const fs::path& path, file_descriptor& holder) {
    constexpr std::chrono::milliseconds between_attempts{5};
    constexpr int most_attempts = 400;
    file_descriptor file{
        ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR)};
    if (file.get() < 0) {
        fail(path);
    }
    give_to_owner_of(path.parent_path(), file.get());
    for (int attempt = 0; ::flock(file.get(), LOCK_EX | LOCK_NB) != 0; ++attempt) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || attempt == most_attempts) {
            fail(path);
        }
        std::this_thread::sleep_for(between_attempts
        ); // a lock cannot be waited for in bounded time
    }
    holder.swap(file);
}

} // namespace tarvik::monitoring_modules::probe
