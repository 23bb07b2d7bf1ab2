#include "host/kept_state.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::int32_t done = 0;
constexpr std::int32_t not_done = 1;

/// A name becomes a file's, so it must not lead anywhere else.
[[nodiscard]] bool is_plain(std::string_view name) {
    return !name.empty() && name.size() <= 64 &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") ==
               std::string_view::npos;
}

} // namespace

extern "C" {

static std::int32_t load_kept(void* user, const char* name, ZunoStoreGive give, void* to) {
    const auto bytes = static_cast<kept_state*>(user)->load(name);
    if (!bytes) {
        return not_done;
    }
    give(to, bytes->data(), static_cast<std::uint32_t>(bytes->size()));
    return done;
}

static std::int32_t
save_kept(void* user, const char* name, const std::uint8_t* bytes, std::uint32_t size) {
    const std::string_view text{reinterpret_cast<const char*>(bytes), size};
    return static_cast<kept_state*>(user)->save(name, text) ? done : not_done;
}

} // extern "C"

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
        if (!is_plain(name)) {
            return std::nullopt;
        }
        return load_or_lock(name);
    } catch (const std::exception& error) {
        tell(error.what());
        return std::nullopt;
    }
}

/// @return what is there, but not what was loaded before: the module had no use for that
std::optional<kept_bytes> kept_state::unseen(const std::string& name) {
    try {
        auto bytes = folder_->read(name);
        const auto before = given_.find(name);
        if (!bytes || (before != given_.end() && before->second == bytes->identity())) {
            return std::nullopt;
        }
        given_.insert_or_assign(name, bytes->identity());
        return bytes;
    } catch (const state_error& error) { // it will be replaced
        tell(error.what());
        return std::nullopt;
    }
}

std::optional<kept_bytes> kept_state::load_or_lock(const std::string& name) {
    if (!folder_) {
        folder_.emplace(path_);
    }
    if (!making_) {
        if (auto bytes = unseen(name)) {
            return bytes;
        }
        making_ = folder_->lock(longest_wait_);
        if (!making_) {
            tell(path_.string() + ": another process has held the lock for long");
        }
    }
    auto bytes = unseen(name); // which another process has made meanwhile
    if (bytes) {
        making_.reset();
    }
    return bytes;
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
