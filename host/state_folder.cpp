#include "host/state_folder.hpp"

#include <sys/file.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <string.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <thread>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr off_t most_bytes = 65'536;
constexpr mode_t for_us_alone = S_IRWXU;
constexpr mode_t for_others = S_IRWXG | S_IRWXO;
constexpr std::chrono::milliseconds between_attempts{20};

[[noreturn]] void refuse(const std::string& place, const std::string& reason) {
    throw state_error{place + ": " + reason};
}

[[noreturn]] void refuse_with_errno(const std::string& place) {
    refuse(place, std::generic_category().message(errno));
}

/// @return empty unless the variable holds an absolute path
[[nodiscard]] std::filesystem::path path_in(const char* variable) {
    const char* const text = secure_getenv(variable);
    std::filesystem::path path{text == nullptr ? "" : text};
    return path.is_absolute() ? path : std::filesystem::path{};
}

void make_folders(const std::filesystem::path& path) {
    std::filesystem::path made;
    for (const std::filesystem::path& part : path) {
        made /= part;
        if (::mkdir(made.c_str(), for_us_alone) != 0 && errno != EEXIST && errno != EROFS &&
            errno != EACCES) {
            refuse_with_errno(made);
        }
    }
}

struct stat status_of(int descriptor, const std::string& place) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        refuse_with_errno(place);
    }
    if (status.st_uid != ::geteuid()) {
        refuse(place, "it belongs to another user");
    }
    if ((status.st_mode & for_others) != 0) {
        refuse(place, "others may open it");
    }
    return status;
}

[[nodiscard]] std::size_t read_all(int descriptor, std::uint8_t* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(descriptor, bytes + done, size - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

[[nodiscard]] bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::fsync(descriptor) == 0;
}

} // namespace

std::filesystem::path state_folder_path() {
    if (const char* list = secure_getenv("STATE_DIRECTORY"); list != nullptr) {
        const std::string_view all{list};
        if (std::filesystem::path first{all.substr(0, all.find(':'))}; first.is_absolute()) {
            return first;
        }
    }
    if (const auto base = path_in("XDG_STATE_HOME"); !base.empty()) {
        return base / "opcua-probe";
    }
    const auto home = path_in("HOME");
    return home.empty() ? home : home / ".local/state/opcua-probe";
}

bool file_identity::operator==(const file_identity& other) const noexcept {
    return device == other.device && number == other.number &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

kept_bytes::kept_bytes(file_identity identity, std::size_t size)
    : identity_{identity},
      size_{size},
      bytes_{std::make_unique<std::uint8_t[]>(size)} {}

kept_bytes::~kept_bytes() {
    if (bytes_) {
        explicit_bzero(bytes_.get(), size_);
    }
}

folder_lock::~folder_lock() {
    ::flock(file_.get(), LOCK_UN); // also where a child process has inherited the file
}

state_folder::state_folder(const std::filesystem::path& path) : path_{path} {
    make_folders(path);
    file_descriptor opened{::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    if (opened.get() < 0) {
        refuse_with_errno(path_);
    }
    static_cast<void>(status_of(opened.get(), path_));
    folder_.swap(opened);
}

std::string state_folder::place_of(const std::string& name) const {
    return path_ + "/" + name;
}

std::optional<kept_bytes> state_folder::read(const std::string& name) const {
    // What is no plain file may let an open wait for ever.
    const file_descriptor file{
        ::openat(folder_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
    if (file.get() < 0) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        refuse_with_errno(place_of(name));
    }
    const struct stat status = status_of(file.get(), place_of(name));
    if (!S_ISREG(status.st_mode) || status.st_size > most_bytes) {
        refuse(place_of(name), "it is no file of a usable size");
    }
    kept_bytes bytes{
        {status.st_dev, status.st_ino, status.st_mtim}, static_cast<std::size_t>(status.st_size)};
    if (read_all(file.get(), bytes.data(), bytes.size()) != bytes.size()) {
        refuse(place_of(name), "it cannot be read");
    }
    return bytes;
}

void state_folder::write(const std::string& name, std::string_view bytes) const {
    const std::string next = name + ".new";
    ::unlinkat(folder_.get(), next.c_str(), 0); // of a process that did not come to its end
    const file_descriptor file{::openat(
        folder_.get(),
        next.c_str(),
        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
        S_IRUSR | S_IWUSR
    )};
    if (file.get() < 0) {
        refuse_with_errno(place_of(next));
    }
    if (!write_all(file.get(), bytes) ||
        ::renameat(folder_.get(), next.c_str(), folder_.get(), name.c_str()) != 0) {
        const int problem = errno;
        ::unlinkat(folder_.get(), next.c_str(), 0);
        errno = problem;
        refuse_with_errno(place_of(name));
    }
}

std::unique_ptr<folder_lock> state_folder::lock(std::chrono::milliseconds longest) const {
    file_descriptor file{::openat(
        folder_.get(), "lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR
    )};
    if (file.get() < 0) {
        refuse_with_errno(place_of("lock"));
    }
    const auto end = std::chrono::steady_clock::now() + longest;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            refuse_with_errno(place_of("lock"));
        }
        if (std::chrono::steady_clock::now() >= end) {
            return nullptr;
        }
        std::this_thread::sleep_for(between_attempts
        ); // a lock cannot be waited for in bounded time
    }
    return std::make_unique<folder_lock>(file);
}

} // namespace tarvik::monitoring_modules::probe
