#pragma once
// A judge of server certificates who trusts at each address the one that he saw there first.

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace tarvik::soak {

/// Any threads at once.
class first_seen final {
  public:
    /// For ZunoSetServerTrust; user is a first_seen.
    static std::uint32_t
    judge(void* user, const char* url, const std::uint8_t* certificate, std::uint32_t size) {
        if (certificate == nullptr) {
            return bad_certificate_untrusted;
        }
        auto& self = *static_cast<first_seen*>(user);
        const std::string shown{reinterpret_cast<const char*>(certificate), size};
        const std::lock_guard lock{self.mutex_};
        return self.known_.emplace(url, shown).first->second == shown ? 0
                                                                      : bad_certificate_untrusted;
    }

  private:
    static constexpr std::uint32_t bad_certificate_untrusted = 0x801A0000;

    std::mutex mutex_;
    std::map<std::string, std::string> known_; // guarded by mutex_
};

} // namespace tarvik::soak
