#include "trust/certificate.hpp"

#include "text/words.hpp"
#include <arpa/inet.h>

#include <array>
#include <cctype>
#include <ctime>

#include <openssl/err.h>
#include <openssl/pem.h>

namespace tarvik::monitoring_modules::probe {

namespace {

[[nodiscard]] bio_owner reader_of(std::string_view bytes) {
    return bio_owner{BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size()))};
}

[[nodiscard]] std::string taken_from(const bio_owner& bio) {
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &bytes);
    return size > 0 ? std::string{bytes, static_cast<std::size_t>(size)} : std::string{};
}

[[nodiscard]] std::string text_of(const X509_NAME* name) {
    const bio_owner bio{BIO_new(BIO_s_mem())};
    constexpr unsigned long form = XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB;
    if (!bio || X509_NAME_print_ex(bio.get(), name, 0, form) < 0) {
        return {};
    }
    return taken_from(bio);
}

[[nodiscard]] std::optional<std::chrono::sys_seconds> time_of(const ASN1_TIME* time) {
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) {
        return std::nullopt;
    }
    return std::chrono::sys_seconds{std::chrono::seconds{timegm(&parts)}};
}

[[nodiscard]] std::string address_text(const ASN1_OCTET_STRING& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int size = ASN1_STRING_length(&address);
    const int family = size == 4 ? AF_INET : AF_INET6;
    if ((size != 4 && size != 16) ||
        inet_ntop(family, ASN1_STRING_get0_data(&address), text.data(), text.size()) == nullptr) {
        return {};
    }
    return text.data();
}

/// Reads all objects of one kind, in PEM or in DER.
template <typename Object, typename Owner, typename ReadPem, typename ReadDer>
[[nodiscard]] std::vector<Object>
read_all(std::string_view bytes, const ReadPem& read_pem, const ReadDer& read_der) {
    std::vector<Object> objects;
    if (bytes.empty() || bytes.size() > most_certificate_bytes) {
        return objects;
    }
    ERR_clear_error();
    if (bytes.find("-----BEGIN") != std::string_view::npos) {
        const bio_owner bio = reader_of(bytes);
        while (Owner object{read_pem(bio.get(), nullptr, ask_nobody, nullptr)}) {
            objects.emplace_back(std::move(object));
        }
        const bool at_end = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
        ERR_clear_error();
        return at_end ? objects : std::vector<Object>{};
    }
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* const end = next + bytes.size();
    while (next < end) {
        Owner object{read_der(nullptr, &next, end - next)};
        if (!object) {
            ERR_clear_error();
            return {};
        }
        objects.emplace_back(std::move(object));
    }
    return objects;
}

} // namespace

std::string certificate::der() const {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(get(), &bytes);
    const memory_owner owner{bytes};
    return size > 0
               ? std::string{reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)}
               : std::string{};
}

std::string certificate::pem() const {
    const bio_owner bio{BIO_new(BIO_s_mem())};
    return bio && PEM_write_bio_X509(bio.get(), get()) == 1 ? taken_from(bio) : std::string{};
}

std::string certificate::fingerprint() const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (X509_digest(get(), EVP_sha256(), digest.data(), &size) != 1) {
        return {};
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += digits[digest.at(i) >> 4U];
        text += digits[digest.at(i) & 0xfU];
    }
    return text;
}

std::string certificate::subject() const {
    return text_of(X509_get_subject_name(get()));
}

std::string certificate::issuer() const {
    return text_of(X509_get_issuer_name(get()));
}

std::string certificate::name() const {
    const X509_NAME* const name = X509_get_subject_name(get());
    const int index = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
    if (index < 0) {
        return subject();
    }
    unsigned char* text = nullptr;
    const int size =
        ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
    const memory_owner owner{text};
    return size > 0
               ? std::string{reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)}
               : subject();
}

std::vector<std::string> certificate::names_of_type(int type) const {
    std::vector<std::string> texts;
    const general_names_owner names{
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(get(), NID_subject_alt_name, nullptr, nullptr)
        )};
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        int kind = 0;
        const void* const value =
            GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &kind);
        if (kind != type || value == nullptr) {
            continue;
        }
        const auto& text = *static_cast<const ASN1_STRING*>(value);
        texts.push_back(
            type == GEN_IPADD
                ? address_text(text)
                : std::
                      string{reinterpret_cast<const char*>(ASN1_STRING_get0_data(&text)), static_cast<std::size_t>(ASN1_STRING_length(&text))}
        );
    }
    return texts;
}

std::vector<std::string> certificate::dns_names() const {
    return names_of_type(GEN_DNS);
}

std::vector<std::string> certificate::addresses() const {
    return names_of_type(GEN_IPADD);
}

std::vector<std::string> certificate::uris() const {
    return names_of_type(GEN_URI);
}

std::optional<std::chrono::sys_seconds> certificate::not_before() const {
    return time_of(X509_get0_notBefore(get()));
}

std::optional<std::chrono::sys_seconds> certificate::not_after() const {
    return time_of(X509_get0_notAfter(get()));
}

int certificate::key_bits() const {
    const EVP_PKEY* const key = X509_get0_pubkey(get());
    ERR_clear_error();
    return key == nullptr ? 0 : EVP_PKEY_get_bits(key);
}

bool certificate::is_self_issued() const {
    return X509_NAME_cmp(X509_get_subject_name(get()), X509_get_issuer_name(get())) == 0;
}

bool certificate::is_authority() const {
    // 1: basic constraints say so; greater: guessed from other fields.
    return X509_check_ca(get()) == 1 && uris().empty();
}

bool certificate::operator==(const certificate& other) const {
    return X509_cmp(get(), other.get()) == 0;
}

std::string revocation_list::issuer() const {
    return text_of(X509_CRL_get_issuer(get()));
}

std::vector<certificate> read_certificates(std::string_view bytes) {
    return read_all<certificate, x509_owner>(bytes, PEM_read_bio_X509, d2i_X509);
}

std::vector<revocation_list> read_revocation_lists(std::string_view bytes) {
    return read_all<revocation_list, x509_crl_owner>(bytes, PEM_read_bio_X509_CRL, d2i_X509_CRL);
}

std::string parse_fingerprint(std::string_view text) {
    std::string digits;
    for (const char letter : text) {
        if (letter != ':' && letter != ' ') {
            digits += lower_case(letter);
        }
    }
    const bool usable =
        digits.size() == 64 && digits.find_first_not_of("0123456789abcdef") == std::string::npos;
    return usable ? digits : std::string{};
}

std::string time_text(const std::optional<std::chrono::sys_seconds>& time) {
    std::tm parts{};
    std::array<char, 64> text{};
    const std::time_t seconds = time ? time->time_since_epoch().count() : 0;
    if (!time || gmtime_r(&seconds, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts) == 0) {
        return "?";
    }
    return text.data();
}

std::optional<long> days_left(const certificate& of, std::chrono::system_clock::time_point now) {
    const auto end = of.not_after();
    if (!end) {
        return std::nullopt;
    }
    return std::chrono::floor<std::chrono::days>(*end - now).count();
}

std::string describe(const certificate& shown, std::chrono::system_clock::time_point now) {
    std::string text = "  subject   " + shown.subject() + "\n  issuer    " + shown.issuer() +
                       (shown.is_self_issued() ? " (self-signed)" : "") + "\n  valid     " +
                       time_text(shown.not_before()) + " to " + time_text(shown.not_after());
    if (const auto days = days_left(shown, now)) {
        text += *days < 0 ? ", EXPIRED" : ", " + std::to_string(*days) + " days left";
    }
    text += "\n";
    const auto add = [&text](const char* title, const std::vector<std::string>& names) {
        text += names.empty() ? "" : title + joined(names) + "\n";
    };
    add("  names     ", shown.dns_names());
    add("  addresses ", shown.addresses());
    add("  URI       ", shown.uris());
    return text + "  key       " + std::to_string(shown.key_bits()) + " bit\n  SHA-256   " +
           shown.fingerprint() + "\n";
}

} // namespace tarvik::monitoring_modules::probe
