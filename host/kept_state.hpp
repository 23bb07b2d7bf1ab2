#pragma once
// The store that this program offers to the module: files in a folder of this user that nobody else
// may read, and a lock between processes. What cannot be kept is told and nothing more: the module
// then makes it again.

#include "libzunohelper/include/zunohelper/store.h"
#include <sys/types.h>

#include <string.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// @return $STATE_DIRECTORY (the first of several, as systemd gives it), else
/// $XDG_STATE_HOME/opcua-probe, else ~/.local/state/opcua-probe; empty: nowhere. A variable without
/// an absolute path counts as absent.
[[nodiscard]] std::filesystem::path state_folder_path();

/// Tells a file from the one that replaced it: device, number, and when it was changed.
using file_identity = std::tuple<dev_t, ino_t, std::time_t, long>;

/// What a file holds; overwritten when this object goes.
struct kept_bytes {
    explicit kept_bytes(std::size_t size) : bytes(size) {}
    ~kept_bytes() {
        if (!bytes.empty()) { // nothing where it was moved from
            explicit_bzero(bytes.data(), bytes.size());
        }
    }
    kept_bytes(kept_bytes&&) noexcept = default;
    kept_bytes& operator=(kept_bytes&&) = delete;
    kept_bytes(const kept_bytes&) = delete;
    kept_bytes& operator=(const kept_bytes&) = delete;

    file_identity identity;
    std::vector<std::uint8_t> bytes;
};

struct folder_lock;
class state_folder;

/// The module's store while it lives. Any thread may call it.
///
/// Whoever finds nothing usable gets the lock of the folder and keeps it until it has saved what it
/// made. Other processes wait for that, and then load. Not used, and told, are folders and files
/// that are links, not this user's, or open to others, and files larger than 64 KiB.
class kept_state final {
  public:
    using teller = std::function<void(const std::string&)>;

    /// @param set_store of the framework; null: it has none
    /// @param path see state_folder_path; made for this user only at the first need; empty: nothing
    /// is kept
    /// @param tell gets what cannot be kept or is not used, on any thread
    /// @param longest_wait for another process that makes what both need, which takes some seconds
    kept_state(
        decltype(&::ZunoSetStore) set_store,
        std::filesystem::path path,
        teller tell,
        std::chrono::milliseconds longest_wait = std::chrono::seconds{20}
    );
    ~kept_state();
    kept_state(const kept_state&) = delete;
    kept_state& operator=(const kept_state&) = delete;

    /// @param name of a-z, 0-9 and "-"
    /// @return nothing: the caller may make it
    [[nodiscard]] std::optional<kept_bytes> load(const std::string& name) noexcept;
    /// Puts a file in the place of the one that is there: whoever reads gets all of one of them.
    /// @return whether it is kept
    bool save(const std::string& name, std::string_view bytes) noexcept;

  private:
    [[nodiscard]] std::optional<kept_bytes> load_or_lock(const std::string& name);
    [[nodiscard]] std::optional<kept_bytes> unseen(const std::string& name);
    void tell(const std::string& text) const noexcept;

    const decltype(&::ZunoSetStore) set_store_;
    const std::filesystem::path path_;
    const teller tell_;
    const std::chrono::milliseconds longest_wait_;
    std::mutex mutex_;                           // guards all that follows
    std::unique_ptr<state_folder> folder_;       // opened at the first need
    std::unique_ptr<folder_lock> making_;        // the lock, while this process makes something
    std::map<std::string, file_identity> given_; // what was loaded last
};

} // namespace tarvik::monitoring_modules::probe
