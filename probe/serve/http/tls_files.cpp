#include "probe/serve/http/tls_files.hpp"

#include "probe/probe_error.hpp"
#include "probe/secret_file.hpp"
#include <gnutls/abstract.h>
#include <gnutls/gnutls.h>

#include <memory>
#include <new>

namespace tarvik::monitoring_modules::probe {

namespace {

using private_key = std::unique_ptr<gnutls_privkey_st, releaser<gnutls_privkey_deinit>>;
using credentials = std::unique_ptr<
    std::remove_pointer_t<gnutls_certificate_credentials_t>,
    releaser<gnutls_certificate_free_credentials>>;

template <typename Owner>
[[nodiscard]] Owner made(int (*make)(typename Owner::pointer*)) {
    typename Owner::pointer raw = nullptr;
    if (make(&raw) != GNUTLS_E_SUCCESS) {
        throw std::bad_alloc{};
    }
    return Owner{raw};
}

/// The library takes bytes as not constant, but leaves them as they are.
[[nodiscard]] gnutls_datum_t bytes_of(std::string& text) {
    return {reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size())};
}

void check(int result, const std::string& problem) {
    if (result < 0) {
        throw probe_error{
            exit_code::usage, "TLS of the web page: " + problem + ": " + gnutls_strerror(result)};
    }
}

} // namespace

tls_pem read_tls_files(const http_tls_files& files) {
    tls_pem pem{read_file(files.certificate), read_file(files.key)};
    const gnutls_datum_t certificate = bytes_of(pem.certificate);
    const gnutls_datum_t key = bytes_of(pem.key);
    const auto parsed = made<private_key>(gnutls_privkey_init);
    check(
        gnutls_privkey_import_x509_raw(parsed.get(), &key, GNUTLS_X509_FMT_PEM, nullptr, 0),
        "the key \"" + files.key + "\" is unusable"
    );
    const auto both = made<credentials>(gnutls_certificate_allocate_credentials);
    check(
        gnutls_certificate_set_x509_key_mem2(
            both.get(), &certificate, &key, GNUTLS_X509_FMT_PEM, nullptr, 0
        ),
        "the certificate \"" + files.certificate + "\" is unusable with the key \"" + files.key +
            "\""
    );
    return pem;
}

} // namespace tarvik::monitoring_modules::probe
