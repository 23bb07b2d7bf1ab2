#include "libcertificatehelper/source/certificate.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/encoding.hpp"
#include "libcertificatehelper/source/extensions.hpp"
#include "libcertificatehelper/source/keys.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"
#include "libcertificatehelper/source/times.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

template <typename Failure>
std::string printed_name(const X509_NAME* name) {
    const bio_ptr bio{BIO_new(BIO_s_mem())};
    if (bio == nullptr) {
        throw exceptions::bad_alloc{"BIO_new"};
    }
    // 0 is the length of an empty name.
    if (X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_RFC2253) < 0) {
        throw Failure{take_error_text()};
    }
    return text_of(*bio);
}

std::string lower_case_hexadecimal(std::span<const unsigned char> bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const unsigned char byte : bytes) {
        text.push_back(digits[byte >> 4U]);
        text.push_back(digits[byte & 0xFU]);
    }
    return text;
}

template <std::size_t Size>
std::string hash_text(const X509& x509, const EVP_MD* algorithm) {
    const error_scope scope;
    std::array<unsigned char, Size> hash{};
    unsigned int size = 0;
    X509_digest(&x509, algorithm, hash.data(), &size);
    if (size != hash.size()) {
        // This order of the two lengths is the one that translations and their users know.
        throw exceptions::wrong_hash_length{std::to_string(hash.size()), std::to_string(size)};
    }
    return lower_case_hexadecimal(hash);
}

} // namespace

certificate::certificate(x509_ptr x509, std::shared_ptr<allocator> allocator)
    : allocator_{std::move(allocator)},
      x509_{std::move(x509)} {
    const error_scope scope;
    subject_ =
        printed_name<exceptions::get_x509_subject_failed>(X509_get_subject_name(x509_.get()));
    issuer_ = printed_name<exceptions::get_x509_issuer_failed>(X509_get_issuer_name(x509_.get()));
}

byte_vector certificate::to_der() const {
    const error_scope scope;
    return certificate_to_der(x509_.get());
}

std::unique_ptr<key_interface> certificate::get_public_key() const {
    const error_scope scope;
    return allocator_->create_public_key(public_key_to_der(X509_get0_pubkey(x509_.get())));
}

std::string certificate::get_common_name() const {
    std::vector<std::string> names = get_common_names();
    if (names.empty()) {
        throw std::out_of_range{"The subject of the certificate has no common name."};
    }
    return std::move(names.front());
}

std::vector<std::string> certificate::get_common_names() const {
    const error_scope scope;
    const X509_NAME* subject = X509_get_subject_name(x509_.get());
    std::vector<std::string> names;
    for (int index = X509_NAME_get_index_by_NID(subject, NID_commonName, -1); index >= 0;
         index = X509_NAME_get_index_by_NID(subject, NID_commonName, index)) {
        names.push_back(text_of(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, index))));
    }
    return names;
}

std::vector<std::string> certificate::get_subject_alternative_names() const {
    const error_scope scope;
    return split_names(extension_texts(*x509_, NID_subject_alt_name));
}

std::vector<std::string> certificate::get_application_uris() const {
    constexpr std::string_view tag = "URI:";
    std::vector<std::string> uris;
    for (const std::string& name : get_subject_alternative_names()) {
        // The tag counts wherever it stands, and what is cut is the length of a tag in front.
        if (name.find(tag) != std::string::npos) {
            uris.push_back(name.substr(tag.size()));
        }
    }
    return uris;
}

bool certificate::key_identifiers_match() const {
    const auto authority_keys = extension_texts(*x509_, NID_authority_key_identifier);
    const auto subject_keys = extension_texts(*x509_, NID_subject_key_identifier);
    if (authority_keys.empty() || subject_keys.empty()) {
        return true;
    }
    // A set, because a hostile certificate may repeat both a hundred thousand times.
    std::set<std::string> accepted;
    for (const std::string& key : subject_keys) {
        accepted.insert("keyid:" + key);
    }
    return std::any_of(authority_keys.begin(), authority_keys.end(), [&](const std::string& key) {
        return accepted.contains(key);
    });
}

bool certificate::is_self_signed() const {
    const error_scope scope;
    if (X509_NAME_cmp(X509_get_subject_name(x509_.get()), X509_get_issuer_name(x509_.get())) != 0 ||
        !key_identifiers_match()) {
        return false;
    }
    EVP_PKEY* key = X509_get0_pubkey(x509_.get());
    return key != nullptr && X509_verify(x509_.get(), key) == 1;
}

std::string certificate::get_thumbprint() const {
    return hash_text<20>(*x509_, EVP_sha1());
}

std::string certificate::get_sha256_thumbprint() const {
    return hash_text<32>(*x509_, EVP_sha256());
}

std::int32_t certificate::get_signature_length() const {
    const error_scope scope;
    const ASN1_BIT_STRING* signature = nullptr;
    X509_get0_signature(&signature, nullptr, x509_.get());
    return signature != nullptr ? ASN1_STRING_length(signature) : 0;
}

std::int32_t certificate::get_public_key_length() const {
    const error_scope scope;
    const EVP_PKEY* key = X509_get0_pubkey(x509_.get());
    return key != nullptr ? EVP_PKEY_get_bits(key) : 0;
}

key_type certificate::get_public_key_type() const {
    const error_scope scope;
    return type_of(X509_get0_pubkey(x509_.get()));
}

std::int32_t certificate::get_days_until_expiry(time_point now) const {
    const error_scope scope;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now.time_since_epoch());
    const asn1_time_ptr begin{ASN1_TIME_set(nullptr, seconds.count())};
    int days = 0;
    int rest = 0;
    if (begin == nullptr ||
        ASN1_TIME_diff(&days, &rest, begin.get(), X509_get0_notAfter(x509_.get())) != 1) {
        return 0;
    }
    return days;
}

std::optional<std::chrono::sys_seconds> certificate::get_not_before() const {
    const error_scope scope;
    return utc_seconds(X509_get0_notBefore(x509_.get()));
}

std::optional<std::chrono::sys_seconds> certificate::get_not_after() const {
    const error_scope scope;
    return utc_seconds(X509_get0_notAfter(x509_.get()));
}

bool certificate::supports_data_encipherment() const {
    const error_scope scope;
    const auto texts = extension_texts(*x509_, NID_key_usage);
    return std::any_of(texts.begin(), texts.end(), [](const std::string& text) {
        return text.find("Data Encipherment") != std::string::npos;
    });
}

std::vector<std::string> certificate::get_crl_distribution_points() const {
    const error_scope scope;
    return crl_distribution_point_uris(*x509_);
}

bool certificate::has_public_key_of(const EVP_PKEY& key) const {
    const error_scope scope;
    const EVP_PKEY* const own = X509_get0_pubkey(x509_.get());
    return own != nullptr && EVP_PKEY_eq(own, &key) == 1;
}

bool certificate::verify_signature(const certificate_interface& issuer) const {
    const error_scope scope;
    const evp_pkey_ptr key = public_key_of(*issuer.get_public_key());
    const int result = X509_verify(x509_.get(), key.get());
    if (result < 0) {
        throw exceptions::signature_verification_failed{take_error_text()};
    }
    return result == 1;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
