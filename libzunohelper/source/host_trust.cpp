#include "zunohelper/host_trust.hpp"

#include "zunohelper/server_trust.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace tarvik::monitoring_modules::libzunohelper::host_trust {

namespace {

// OPC 10000-4, 7.39: status codes. The highest bit says that something is bad.
constexpr std::uint32_t bad_certificate_untrusted = 0x801A0000;
constexpr std::uint32_t bad = 0x80000000;

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): the host sets one judge for the
// process
/// Callers share the mutex while they are in the judge, so whoever replaces it, holding the mutex
/// alone, knows that the former one is not called any more.
std::shared_mutex judge_mutex;
ZunoServerTrust current = nullptr; // guarded by judge_mutex
void* current_user = nullptr;      // likewise
std::atomic<bool> judge_is_set{false};

// In the block that every thread has from its start, which takes no memory at the first use.
[[gnu::tls_model("initial-exec")]] thread_local bool asking = false;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

} // namespace

bool has_judge() noexcept {
    return judge_is_set.load(std::memory_order_acquire);
}

std::uint32_t ask(const std::string& endpoint_url, std::span<const std::uint8_t> certificate) {
    if (!std::in_range<std::uint32_t>(certificate.size())) {
        return bad_certificate_untrusted;
    }
    const std::shared_lock lock{judge_mutex};
    if (current == nullptr) {
        return 0;
    }
    asking = true;
    const std::uint32_t answer = current(
        current_user,
        endpoint_url.c_str(),
        certificate.empty() ? nullptr : certificate.data(),
        static_cast<std::uint32_t>(certificate.size())
    );
    asking = false;
    return answer == 0 || (answer & bad) != 0 ? answer : bad_certificate_untrusted;
}

bool is_asking() noexcept {
    return asking;
}

} // namespace tarvik::monitoring_modules::libzunohelper::host_trust

extern "C" void ZunoSetServerTrust(ZunoServerTrust judge, void* user) {
    namespace trust = tarvik::monitoring_modules::libzunohelper::host_trust;
    const std::unique_lock lock{trust::judge_mutex};
    trust::current = judge;
    trust::current_user = user;
    trust::judge_is_set.store(judge != nullptr, std::memory_order_release);
}
