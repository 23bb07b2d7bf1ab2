#pragma once
// A folder of this user in which the program keeps what it would have to make again: files that
// nobody else may read, and a lock between processes.

#include "host/file_descriptor.hpp"
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarvik::monitoring_modules::probe {

/// @return $STATE_DIRECTORY (the first of several, as systemd gives it), else
/// $XDG_STATE_HOME/opcua-probe, else ~/.local/state/opcua-probe; empty: nowhere. A variable without
/// an absolute path counts as absent.
[[nodiscard]] std::filesystem::path state_folder_path();

/// Why something cannot be kept, or is not used.
class state_error final : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Tells a file from the one that replaced it.
struct file_identity {
    dev_t device;
    ino_t number;
    timespec changed;
    [[nodiscard]] bool operator==(const file_identity& other) const noexcept;
};

/// What a file holds; overwritten when this object goes.
class kept_bytes final {
  public:
    kept_bytes(file_identity identity, std::size_t size);
    ~kept_bytes();
    kept_bytes(kept_bytes&&) noexcept = default;
    kept_bytes& operator=(kept_bytes&&) = delete;
    kept_bytes(const kept_bytes&) = delete;

    [[nodiscard]] std::uint8_t* data() const noexcept { return bytes_.get(); }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] const file_identity& identity() const noexcept { return identity_; }

  private:
    file_identity identity_;
    std::size_t size_;
    std::unique_ptr<std::uint8_t[]> bytes_;
};

/// Holds the lock of a folder.
class folder_lock final {
  public:
    explicit folder_lock(file_descriptor& file) noexcept { file_.swap(file); }
    ~folder_lock();
    folder_lock(const folder_lock&) = delete;
    folder_lock& operator=(const folder_lock&) = delete;

  private:
    file_descriptor file_;
};

/// One thread at a time.
class state_folder final {
  public:
    /// Makes the folder where it is missing, for this user only.
    /// @throws state_error when it cannot be had, is a link, is not this user's, or others may look
    /// into it
    explicit state_folder(const std::filesystem::path& path);

    /// @param name of a-z, 0-9 and "-"
    /// @return nothing when there is no such file
    /// @throws state_error when it is not to be used: a link, no plain file, not this user's, open
    /// to others, larger than 64 KiB
    [[nodiscard]] std::optional<kept_bytes> read(const std::string& name) const;

    /// Puts a file that only this user may read in the place of the one that is there: whoever
    /// reads gets all of one of them. To be called while the lock is held.
    /// @throws state_error
    void write(const std::string& name, std::string_view bytes) const;

    /// Waits until no other process has the lock.
    /// @return null when it could not be had in time
    /// @throws state_error
    [[nodiscard]] std::unique_ptr<folder_lock> lock(std::chrono::milliseconds longest) const;

  private:
    [[nodiscard]] std::string place_of(const std::string& name) const;

    std::string path_;
    file_descriptor folder_;
};

} // namespace tarvik::monitoring_modules::probe
