#pragma once
// The store that this program offers to the module: files in its state folder. What cannot be kept
// is told and nothing more: the module then makes it again.

#include "host/state_folder.hpp"
#include "libzunohelper/include/zunohelper/store.h"

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

namespace tarvik::monitoring_modules::probe {

/// How long a process waits for another that makes what both need. Making takes some seconds.
inline constexpr std::chrono::seconds longest_making{20};

/// The module's store while it lives. Any thread may call it.
///
/// Whoever finds nothing usable gets the lock of the folder and keeps it until it has saved what it
/// made. Other processes wait for that, and then load.
class kept_state final {
  public:
    using teller = std::function<void(const std::string&)>;

    /// @param set_store of the framework; null: it has none
    /// @param path see state_folder_path; empty: nothing is kept
    /// @param tell gets what cannot be kept or is not used, on any thread
    kept_state(
        decltype(&::ZunoSetStore) set_store,
        std::filesystem::path path,
        teller tell,
        std::chrono::milliseconds longest_wait = longest_making
    );
    ~kept_state();
    kept_state(const kept_state&) = delete;
    kept_state& operator=(const kept_state&) = delete;

    /// @return nothing: the caller may make it
    [[nodiscard]] std::optional<kept_bytes> load(const std::string& name) noexcept;
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
    std::optional<state_folder> folder_;         // opened at the first need
    std::unique_ptr<folder_lock> making_;        // the lock, while this process makes something
    std::map<std::string, file_identity> given_; // what was loaded last
};

} // namespace tarvik::monitoring_modules::probe
