// Certificates, keys and revocation lists, as the certificate library reads them.

#include "libcertificatehelper/allocator.hpp"
#include "opcua/client/kept_key_pair.hpp"
#include "tests/fuzz/doors.hpp"

#include <array>
#include <chrono>

namespace tarvik::monitoring_modules::fuzz {

using namespace libcertificatehelper;

namespace {

void look_at(const certificate_interface& shown, const certificate_validator_interface& store) {
    static_cast<void>(shown.get_common_names());
    tolerate([&] { static_cast<void>(shown.get_common_name()); });
    static_cast<void>(shown.get_subject_alternative_names());
    static_cast<void>(shown.get_application_uris());
    static_cast<void>(shown.is_self_signed());
    require(shown.get_thumbprint().size() == 40, "SHA-1 has 40 digits");
    require(shown.get_sha256_thumbprint().size() == 64, "SHA-256 has 64 digits");
    static_cast<void>(shown.get_signature_length());
    require(shown.get_public_key_length() >= 0, "a length is not negative");
    static_cast<void>(shown.get_public_key_type());
    static_cast<void>(shown.get_days_until_expiry(time_point{}));
    static_cast<void>(shown.get_not_before());
    static_cast<void>(shown.get_not_after());
    static_cast<void>(shown.supports_data_encipherment());
    static_cast<void>(shown.get_crl_distribution_points());
    tolerate([&] { static_cast<void>(shown.verify_signature(shown)); });
    static_cast<void>(store.check_host(&shown, "pump.example"));
    static_cast<void>(store.check_host(&shown, "127.0.0.1"));
    require(
        store.verify(&shown).status != verification_status::valid, "what nobody signed is not valid"
    );
}

} // namespace

void certificates(std::string_view input) {
    static const auto library = create_openssl_allocator();
    static const auto store = library->create_certificate_validator(false);
    const byte_view bytes = bytes_of(input);
    std::unique_ptr<certificate_interface> read;
    for (const bool pem : {false, true}) {
        std::unique_ptr<key_interface> key;
        tolerate([&] {
            read = pem ? library->create_certificate_from_pem(bytes)
                       : library->create_certificate_from_der(bytes);
            look_at(*read, *store);
            key = read->get_public_key();
            require(!key->to_der().empty(), "a key that was read can be written");
        });
        tolerate([&] {
            const auto list = pem ? library->create_crl_from_pem(bytes, nullptr)
                                  : library->create_crl_from_der(bytes, nullptr);
            static_cast<void>(list->get_last_update());
            static_cast<void>(list->get_next_update());
            static_cast<void>(list->to_der());
            static_cast<void>(read && list->is_revoked(*read));
        });
        tolerate([&] { static_cast<void>(library->create_crl_from_der(bytes, key.get())); });
    }
    tolerate([&] { static_cast<void>(library->create_public_key(bytes)); });
    tolerate([&] { static_cast<void>(library->create_private_key(bytes, "password")); });
    const auto kept = opcua::from_kept(input, *library);
    require(kept.pair.has_value() == kept.problem.empty(), "a pair is there, or why it is not");
}

} // namespace tarvik::monitoring_modules::fuzz
