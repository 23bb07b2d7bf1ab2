#include "trust/server_judge.hpp"

#include "host/server_address.hpp"
#include "text/words.hpp"

#include <exception>
#include <utility>

namespace tarvik::monitoring_modules::probe {

namespace {

constexpr std::size_t most_told = 1000;

// The module's question names the server alone; whose call it belongs to, only the thread tells.
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables)
thread_local judged_call* current_call = nullptr;
thread_local std::string announced_uri; // of the endpoint that this thread connects to
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

std::uint32_t
answer_module(void* user, const char* url, const std::uint8_t* bytes, std::uint32_t size) {
    const std::string_view chain{reinterpret_cast<const char*>(bytes), bytes == nullptr ? 0 : size};
    return static_cast<server_judge*>(user)->answer(url, chain);
}

/// @return the host of "host:port", without brackets
[[nodiscard]] std::string host_in(const std::string& address) {
    const std::string host = address.substr(0, address.rfind(':'));
    return host.starts_with('[') && host.ends_with(']') ? host.substr(1, host.size() - 2) : host;
}

} // namespace

judged_call::judged_call(const trust_policy& policy) : policy_{policy}, outer_{current_call} {
    current_call = this;
}

judged_call::~judged_call() {
    current_call = outer_;
}

void note_server_uri(std::string_view uri) {
    announced_uri = uri;
}

std::string address_in(std::string_view url) {
    const std::optional<named_server> named = parse_server(url).server;
    return named ? lower_case(host_and_port(named->host, named->port.value_or(default_opcua_port)))
                 : lower_case(url);
}

server_judge::server_judge(
    decltype(&::ZunoSetServerTrust) set_trust, pki_folder folder, teller tell
)
    : set_trust_{set_trust},
      folder_{std::move(folder)},
      tell_{std::move(tell)} {
    if (set_trust_ != nullptr) {
        set_trust_(&answer_module, this);
    }
}

server_judge::~server_judge() {
    if (set_trust_ != nullptr) {
        set_trust_(nullptr, nullptr);
    }
}

std::uint32_t server_judge::answer(std::string_view url, std::string_view chain) noexcept {
    try {
        const trust_policy policy =
            current_call == nullptr ? trust_policy{} : current_call->policy_;
        verdict result;
        try {
            result = judge(url, chain, policy);
        } catch (const std::exception& error) {
            result = {
                trust_status::bad_certificate_untrusted,
                std::string{"The certificate cannot be judged: "} + error.what()};
        }
        announced_uri.clear();
        if (!result.good() && current_call != nullptr) {
            current_call->refusal_ = result.reason;
        }
        return static_cast<std::uint32_t>(result.status);
    } catch (const std::exception&) {
        return static_cast<std::uint32_t>(trust_status::bad_certificate_untrusted);
    }
}

verdict
server_judge::judge(std::string_view url, std::string_view chain, const trust_policy& policy) {
    const std::string address = address_in(url);
    if (chain.empty()) {
        if (policy.plain_password) {
            return {};
        }
        return {
            trust_status::bad_security_mode_insufficient,
            address +
                " takes the password without encryption: everybody on the wire could read it, "
                "so it was not sent. Secure the connection (--security-mode sign_encrypt), or "
                "allow it for this server with --plain-password allow"};
    }
    const auto certificates = read_certificates(chain);
    if (certificates.empty()) {
        return policy.any_certificate ? verdict{}
                                      : verdict{
                                            trust_status::bad_certificate_invalid,
                                            "The certificate of " + address +
                                                " cannot be read. Have it made anew on the server"};
    }
    see(address, certificates.front());
    return policy.any_certificate ? verdict{} : judge_certificate(address, certificates);
}

verdict
server_judge::judge_certificate(const std::string& address, const std::vector<certificate>& chain) {
    const certificate& own = chain.front();
    const std::string fingerprint = own.fingerprint();
    const auto all_known = folder_.known_servers();
    const auto entry = all_known.find(address);
    const bool same = entry != all_known.end() && entry->second.fingerprint == fingerprint;
    const trust_lists lists = folder_.read([this](const std::string& text) { tell_once(text); });
    verdict result = verify(
        chain,
        lists,
        {host_in(address), announced_uri},
        same && entry->second.confirmed,
        std::chrono::system_clock::now()
    );
    if (result.good()) {
        if (!same) {
            remember(address, {fingerprint, false});
        }
        return result;
    }
    keep_refused(own);
    const bool changed = entry != all_known.end() && !same;
    std::string reason = changed
                             ? "THE CERTIFICATE OF " + address + " HAS CHANGED: it was SHA-256 " +
                                   entry->second.fingerprint + " and is now " + fingerprint +
                                   ". Somebody may stand between you and the server. The new one "
                             : "The certificate of " + address + " ";
    reason += result.reason + ".";
    if (result.may_be_confirmed) {
        reason += changed ? " If it was replaced on purpose: "
                          : " If it is the right one (SHA-256 " + fingerprint + "): ";
        reason += "opcua-probe trust accept " + address + folder_.option();
    }
    result.reason = std::move(reason);
    return result;
}

void server_judge::see(const std::string& address, const certificate& shown) {
    seen_certificate seen{
        address,
        shown.name(),
        shown.fingerprint(),
        shown.not_after().value_or(std::chrono::sys_seconds{})};
    const std::lock_guard lock{mutex_};
    seen_[address] = std::move(seen);
}

void server_judge::forget(const std::string& address) {
    const std::lock_guard lock{mutex_};
    seen_.erase(address);
}

void server_judge::keep_refused(const certificate& refused) {
    try {
        static_cast<void>(folder_.add(pki_folder::part::rejected, refused));
    } catch (const std::exception& error) {
        tell_once(std::string{"the refused certificate is not kept: "} + error.what());
    }
}

void server_judge::remember(const std::string& address, const known_server& known) {
    try {
        folder_.remember(address, known);
    } catch (const std::exception& error) {
        tell_once(std::string{"certificates of servers are not remembered: "} + error.what());
    }
}

void server_judge::tell_once(const std::string& text) {
    {
        const std::lock_guard lock{mutex_};
        if (told_.size() >= most_told || !told_.insert(text).second) {
            return;
        }
    }
    tell_(text);
}

std::vector<seen_certificate> server_judge::seen() const {
    const std::lock_guard lock{mutex_};
    std::vector<seen_certificate> all;
    for (const auto& [address, seen] : seen_) {
        all.push_back(seen);
    }
    return all;
}

} // namespace tarvik::monitoring_modules::probe
