#include "opcua/client/kept_key_pair.hpp"

#include <string.h>

#include <chrono>
#include <exception>
#include <vector>

namespace tarvik::monitoring_modules::opcua {

using libcertificatehelper::byte_view;
using libcertificatehelper::bytes_of;
using libcertificatehelper::certificate_interface;
using libcertificatehelper::key_interface;
using libzunohelper::secure_string;

namespace {

constexpr std::size_t most_bytes = 16'384; // a pair has some 5200
constexpr std::int32_t least_days = 30;
constexpr std::string_view begin_of_block = "-----BEGIN ";
constexpr std::string_view begin_of_certificate = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view end_of_certificate = "-----END CERTIFICATE-----";

/// The subject as the certificate library prints it: last part first.
std::string generated_subject() {
    return std::string{generated_common_name} + "," + generated_organization + "," +
           generated_country;
}

/// @return what keeps the pair from being used; empty: nothing
std::string problem_of(const certificate_interface& certificate, const key_interface& key) {
    if (certificate.get_public_key_type() != libcertificatehelper::key_type::rsa ||
        certificate.get_public_key_length() != generated_key_bits) {
        return "its key is not an RSA key of 4096 bits";
    }
    if (certificate.get_subject() != generated_subject()) {
        return "its subject is another one";
    }
    if (certificate.get_subject_alternative_names() !=
        std::vector<std::string>{generated_alternative_name}) {
        return "its alternative names are others";
    }
    if (certificate.get_days_until_expiry(std::chrono::system_clock::now()) < least_days) {
        return "it expires within 30 days";
    }
    return key.belongs_to(certificate) ? "" : "its private key is another one, or damaged";
}

} // namespace

secure_string to_kept(std::string_view certificate_pem, std::string_view private_key_pem) {
    std::string both;
    both.reserve(certificate_pem.size() + 1 + private_key_pem.size()); // no copy is left behind
    both.append(certificate_pem).append(certificate_pem.ends_with('\n') ? "" : "\n");
    both.append(private_key_pem);
    secure_string kept{both};
    explicit_bzero(both.data(), both.size());
    return kept;
}

read_key_pair from_kept(std::string_view kept, libcertificatehelper::allocator& certificates) {
    const std::size_t end = kept.find(end_of_certificate);
    if (kept.size() > most_bytes || !kept.starts_with(begin_of_certificate) ||
        end == std::string_view::npos) {
        return {std::nullopt, "it is no certificate with a key"};
    }
    const std::string_view certificate_pem = kept.substr(0, end + end_of_certificate.size() + 1);
    const std::string_view key_pem = kept.substr(certificate_pem.size());
    // Not even with an empty password: the stack could not read it.
    if (!key_pem.starts_with(begin_of_block) ||
        key_pem.find("ENCRYPTED") != std::string_view::npos) {
        return {std::nullopt, "its private key is missing or encrypted"};
    }
    try {
        const auto certificate =
            certificates.create_certificate_from_pem(bytes_of(certificate_pem));
        const auto key = certificates.create_private_key(bytes_of(key_pem), "");
        if (std::string problem = problem_of(*certificate, *key); !problem.empty()) {
            return {std::nullopt, std::move(problem)};
        }
        return {generated_key_pair{std::string{certificate_pem}, secure_string{key_pem}}, ""};
    } catch (const std::exception& error) {
        return {std::nullopt, error.what()};
    }
}

} // namespace tarvik::monitoring_modules::opcua
