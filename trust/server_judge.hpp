#pragma once
// Answers the module's question whether a server may be talked to, with what stands in the folder
// of certificates.

#include "libzunohelper/include/zunohelper/server_trust.h"
#include "trust/pki_folder.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// What a person has decided for some servers.
struct trust_policy {
    bool any_certificate = false; ///< every server is accepted
    bool plain_password = false;  ///< a password may travel without encryption
    bool operator==(const trust_policy&) const = default;
};

/// A certificate that a server showed last, trusted or not.
struct seen_certificate {
    std::string server; ///< "host:port"
    std::string name;
    std::string fingerprint;
    std::chrono::sys_seconds not_after{};
};

/// What the calling thread connects for. While it lives, servers are judged by its policy, and what
/// the judge says against one is kept here. Calls on a thread nest.
class judged_call final {
  public:
    explicit judged_call(const trust_policy& policy);
    ~judged_call();
    judged_call(const judged_call&) = delete;
    judged_call& operator=(const judged_call&) = delete;

    /// @return why the last server was refused and what to do, once; empty: none was
    [[nodiscard]] std::string take_refusal() { return std::exchange(refusal_, {}); }

  private:
    friend class server_judge;
    const trust_policy policy_;
    judged_call* const outer_;
    std::string refusal_;
};

/// To be told, on the thread that connects, what application the server's endpoint announces,
/// before the judge is asked.
void note_server_uri(std::string_view uri);

/// The module's judge while it lives. Any thread may call it.
class server_judge final {
  public:
    using teller = std::function<void(const std::string&)>;

    /// @param set_trust of the framework; null: it has none, and nothing is judged
    /// @param tell gets complaints about files of the folder, each once, and first sight of
    /// servers' certificates; on any thread
    server_judge(decltype(&::ZunoSetServerTrust) set_trust, pki_folder folder, teller tell);
    ~server_judge();
    server_judge(const server_judge&) = delete;
    server_judge& operator=(const server_judge&) = delete;

    /// @param url of the settings
    /// @param chain DER; empty: the password would travel without encryption
    /// @return OPC UA status code; 0: trusted. Never throws: what cannot be judged is refused.
    [[nodiscard]] std::uint32_t answer(std::string_view url, std::string_view chain) noexcept;

    [[nodiscard]] std::vector<seen_certificate> seen() const;
    /// Nobody connects to this "host:port" any more; nothing about trust changes.
    void forget(const std::string& address);
    [[nodiscard]] const pki_folder& folder() const noexcept { return folder_; }

  private:
    [[nodiscard]] verdict judge(std::string_view url, std::string_view chain, const trust_policy&);
    [[nodiscard]] verdict
    judge_certificate(const std::string& address, const std::vector<certificate>& chain);
    void see(const std::string& address, const certificate& shown);
    void keep_refused(const certificate& refused);
    void remember(const std::string& address, const known_server& known);
    void tell_once(const std::string& text);

    const decltype(&::ZunoSetServerTrust) set_trust_;
    const pki_folder folder_;
    const teller tell_;
    mutable std::mutex mutex_; // guards what follows
    std::map<std::string, seen_certificate> seen_;
    std::set<std::string> told_;
};

/// @param url or what else parse_server takes
/// @return its "host:port" in lower case, "[host]:port" where the host has colons; any other text
/// itself, in lower case
[[nodiscard]] std::string address_in(std::string_view url);

} // namespace tarvik::monitoring_modules::probe
