#include "host/kept_state.hpp"

#include "host/file_descriptor.hpp"
#include <sys/file.h>
#include <sys/stat.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr off_t largest_file = 65'536;

[[noreturn]] void fail_with_errno(const std::string& place) {
    throw std::system_error{errno, std::generic_category(), place};
}

/// A name becomes a file's, so it must not lead anywhere else.
[[nodiscard]] bool is_plain(std::string_view name) {
    return !name.empty() && name.size() <= 64 &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") ==
               std::string_view::npos;
}

/// @return empty unless the value of a variable, which may be null, is an absolute path
[[nodiscard]] std::filesystem::path absolute_path(const char* value, char end = '\0') {
    const std::string_view text{value == nullptr ? "" : value};
    std::filesystem::path path{text.substr(0, text.find(end))};
    return path.is_absolute() ? path : std::filesystem::path{};
}

void make_folders(const std::filesystem::path& path) {
    std::filesystem::path made;
    for (const std::filesystem::path& part : path) {
        made /= part;
        if (::mkdir(made.c_str(), S_IRWXU) != 0 && errno != EEXIST && errno != EROFS &&
            errno != EACCES) {
            fail_with_errno(made);
        }
    }
}

struct stat status_of(int descriptor, const std::string& place) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        fail_with_errno(place);
    }
    if (status.st_uid != ::geteuid()) {
        throw std::runtime_error{place + ": it belongs to another user"};
    }
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw std::runtime_error{place + ": others may open it"};
    }
    return status;
}

/// Calls move(done) until all bytes are moved: reads and writes may stop after any of them.
template <typename Move>
[[nodiscard]] bool all_moved(std::size_t size, Move move) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = move(done);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return true;
}

} // namespace

/// Holds the lock of a folder.
struct folder_lock {
    explicit folder_lock(int opened) noexcept : file{opened} {}
    ~folder_lock() {
        ::flock(file.get(), LOCK_UN); // also where a child process has inherited the file
    }
    folder_lock(const folder_lock&) = delete;
    folder_lock& operator=(const folder_lock&) = delete;

    const file_descriptor file;
};

/// A folder of this user. Its functions throw when something cannot be had or is not to be used.
class state_folder final {
  public:
    explicit state_folder(std::string path) : path_{std::move(path)} {
        make_folders(path_);
        file_descriptor opened{
            ::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
        if (opened.get() < 0) {
            fail_with_errno(path_);
        }
        static_cast<void>(status_of(opened.get(), path_));
        folder_.swap(opened);
    }

    /// @return nothing when there is no such file
    [[nodiscard]] std::optional<kept_bytes> read(const std::string& name) const {
        // What is no plain file may let an open wait for ever.
        const file_descriptor file{open(name, O_RDONLY | O_NONBLOCK)};
        if (file.get() < 0) {
            return std::nullopt;
        }
        const struct stat status = status_of(file.get(), place_of(name));
        if (!S_ISREG(status.st_mode) || status.st_size > largest_file) {
            throw std::runtime_error{place_of(name) + ": it is no file of a usable size"};
        }
        kept_bytes kept{static_cast<std::size_t>(status.st_size)};
        kept.identity = {
            status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
        const auto read_rest = [&](std::size_t done) {
            return ::read(file.get(), kept.bytes.data() + done, kept.bytes.size() - done);
        };
        if (!all_moved(kept.bytes.size(), read_rest)) {
            throw std::runtime_error{place_of(name) + ": it cannot be read"};
        }
        return kept;
    }

    /// To be called while the lock is held.
    void write(const std::string& name, std::string_view bytes) const {
        const std::string next = name + ".new";
        ::unlinkat(folder_.get(), next.c_str(), 0); // of a process that did not come to its end
        const file_descriptor file{open(next, O_WRONLY | O_CREAT | O_EXCL)};
        const auto write_rest = [&](std::size_t done) {
            return ::write(file.get(), bytes.data() + done, bytes.size() - done);
        };
        if (!all_moved(bytes.size(), write_rest) || ::fsync(file.get()) != 0 ||
            ::renameat(folder_.get(), next.c_str(), folder_.get(), name.c_str()) != 0) {
            const int problem = errno;
            ::unlinkat(folder_.get(), next.c_str(), 0);
            throw std::system_error{problem, std::generic_category(), place_of(name)};
        }
    }

    /// Waits until no other process has the lock.
    /// @return null when it could not be had in time
    [[nodiscard]] std::unique_ptr<folder_lock> lock(std::chrono::milliseconds longest) const {
        auto made = std::make_unique<folder_lock>(open("lock", O_RDWR | O_CREAT));
        const auto end = std::chrono::steady_clock::now() + longest;
        while (::flock(made->file.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK && errno != EINTR) {
                fail_with_errno(place_of("lock"));
            }
            if (std::chrono::steady_clock::now() >= end) {
                return nullptr;
            }
            // A lock cannot be waited for in bounded time.
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
        }
        return made;
    }

  private:
    /// @return -1 when a file that is not to be made does not exist
    [[nodiscard]] int open(const std::string& name, int flags) const {
        const int opened = ::openat(
            folder_.get(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR
        );
        if (opened < 0 && ((flags & O_CREAT) != 0 || errno != ENOENT)) {
            fail_with_errno(place_of(name));
        }
        return opened;
    }

    [[nodiscard]] std::string place_of(const std::string& name) const { return path_ + "/" + name; }

    std::string path_;
    file_descriptor folder_;
};

extern "C" {

static std::int32_t load_kept(void* user, const char* name, ZunoStoreGive give, void* to) {
    const auto kept = static_cast<kept_state*>(user)->load(name);
    if (kept) {
        give(to, kept->bytes.data(), static_cast<std::uint32_t>(kept->bytes.size()));
    }
    return kept ? 0 : 1;
}

static std::int32_t
save_kept(void* user, const char* name, const std::uint8_t* bytes, std::uint32_t size) {
    const std::string_view text{reinterpret_cast<const char*>(bytes), size};
    return static_cast<kept_state*>(user)->save(name, text) ? 0 : 1;
}

} // extern "C"

std::filesystem::path state_folder_path() {
    if (auto first = absolute_path(secure_getenv("STATE_DIRECTORY"), ':'); !first.empty()) {
        return first;
    }
    if (const auto base = absolute_path(secure_getenv("XDG_STATE_HOME")); !base.empty()) {
        return base / "opcua-probe";
    }
    const auto home = absolute_path(secure_getenv("HOME"));
    return home.empty() ? home : home / ".local/state/opcua-probe";
}

kept_state::kept_state(
    decltype(&::ZunoSetStore) set_store,
    std::filesystem::path path,
    teller tell,
    std::chrono::milliseconds longest_wait
)
    : set_store_{set_store},
      path_{std::move(path)},
      tell_{std::move(tell)},
      longest_wait_{longest_wait} {
    if (set_store_ != nullptr && !path_.empty()) {
        set_store_(&load_kept, &save_kept, this);
    }
}

kept_state::~kept_state() {
    if (set_store_ != nullptr) {
        set_store_(nullptr, nullptr, nullptr);
    }
}

std::optional<kept_bytes> kept_state::load(const std::string& name) noexcept {
    try {
        const std::lock_guard lock{mutex_};
        return is_plain(name) ? load_or_lock(name) : std::nullopt;
    } catch (const std::exception& error) {
        tell(error.what());
        return std::nullopt;
    }
}

/// @return what is there, but not what was loaded before: the module had no use for that
std::optional<kept_bytes> kept_state::unseen(const std::string& name) {
    try {
        auto kept = folder_->read(name);
        if (!kept || std::exchange(given_[name], kept->identity) == kept->identity) {
            return std::nullopt;
        }
        return kept;
    } catch (const std::runtime_error& error) { // it will be replaced
        tell(error.what());
        return std::nullopt;
    }
}

std::optional<kept_bytes> kept_state::load_or_lock(const std::string& name) {
    if (!folder_) {
        folder_ = std::make_unique<state_folder>(path_);
    }
    if (!making_) {
        if (auto kept = unseen(name)) {
            return kept;
        }
        making_ = folder_->lock(longest_wait_);
        if (!making_) {
            tell(path_.string() + ": another process has held the lock for long");
        }
    }
    auto kept = unseen(name); // which another process has made meanwhile
    if (kept) {
        making_.reset();
    }
    return kept;
}

bool kept_state::save(const std::string& name, std::string_view bytes) noexcept {
    try {
        const std::lock_guard lock{mutex_};
        if (!folder_ || !making_ || !is_plain(name)) {
            return false;
        }
        const auto held = std::exchange(making_, nullptr);
        folder_->write(name, bytes);
        given_.erase(name);
        return true;
    } catch (const std::exception& error) {
        tell(error.what());
        return false;
    }
}

void kept_state::tell(const std::string& text) const noexcept {
    try {
        tell_("Not kept: " + text);
    } catch (const std::exception&) { // out of memory: a line less
    }
}

} // namespace tarvik::monitoring_modules::probe
