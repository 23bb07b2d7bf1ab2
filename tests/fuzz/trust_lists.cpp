// What a server shows and what stands in the folder of certificates, and what the judge makes of
// them. First byte: what of it is trusted; then, each with its length, the chain, what is known,
// and lists of what was revoked.

#include "tests/fuzz/doors.hpp"
#include "trust/server_judge.hpp"

#include <chrono>

namespace tarvik::monitoring_modules::fuzz {

void trust_lists(std::string_view input) {
    input_parts parts{input};
    const unsigned trusted = parts.number();
    const std::vector<probe::certificate> chain = probe::read_certificates(parts.part());
    probe::trust_lists lists;
    lists.issuers = probe::read_certificates(parts.part());
    lists.revoked = probe::read_revocation_lists(parts.part());
    if (trusted % 2 == 1 && !chain.empty()) {
        lists.trusted = {chain.back()};
    }
    if (trusted % 4 > 1) {
        std::swap(lists.trusted, lists.issuers);
    }
    // Long after all that is kept with this test was made.
    const std::chrono::system_clock::time_point now{std::chrono::hours{24 * 365 * 57}};
    for (const probe::certificate& shown : chain) {
        static_cast<void>(probe::describe(shown, now));
        require(shown.fingerprint().size() == 64, "SHA-256 has 64 digits");
        require(
            probe::read_certificates(shown.pem()).size() == 1, "what is written can be read again"
        );
        static_cast<void>(shown.uris());
        static_cast<void>(probe::file_name_of(shown));
    }
    if (!chain.empty()) {
        const probe::asked_server server{"127.0.0.1", "urn:tarvik:simulator"};
        const probe::verdict found = probe::verify(chain, lists, server, trusted % 8 > 3, now);
        require(!found.good() || !lists.trusted.empty(), "nobody is trusted without a reason");
        require(found.good() == found.reason.empty(), "a refusal has a reason");
    }
    static_cast<void>(probe::parse_fingerprint(input));
    static_cast<void>(probe::address_in(input));
}

} // namespace tarvik::monitoring_modules::fuzz
