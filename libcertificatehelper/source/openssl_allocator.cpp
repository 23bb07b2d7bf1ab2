#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/allocator.hpp"
#include "libcertificatehelper/source/certificate.hpp"
#include "libcertificatehelper/source/certificate_revocation_list.hpp"
#include "libcertificatehelper/source/certificate_validator.hpp"
#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/keys.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"

#include <utility>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

class openssl_allocator final : public allocator,
                                public std::enable_shared_from_this<openssl_allocator> {
  public:
    [[nodiscard]] std::unique_ptr<key_interface>
    create_private_key(byte_view pem, std::string_view password) override {
        const error_scope scope;
        refuse_empty<exceptions::private_key_empty>(pem);
        evp_pkey_ptr key = private_key_from_pem(pem, password);
        if (key == nullptr) {
            throw exceptions::could_not_load_private_key{take_error_text()};
        }
        return std::make_unique<private_key>(std::move(key), shared_from_this());
    }

    [[nodiscard]] std::unique_ptr<key_interface> create_public_key(byte_view der) override {
        const error_scope scope;
        refuse_empty<exceptions::public_key_empty>(der);
        evp_pkey_ptr key = public_key_from_der(der);
        if (key == nullptr) {
            throw exceptions::could_not_load_public_key{take_error_text()};
        }
        return std::make_unique<public_key>(std::move(key), shared_from_this());
    }

    [[nodiscard]] std::unique_ptr<certificate_interface> create_certificate_from_pem(byte_view pem
    ) override {
        const error_scope scope;
        refuse_empty<exceptions::certificate_empty>(pem);
        return make_certificate<exceptions::certificate_pem_invalid>(certificate_from_pem(pem));
    }

    [[nodiscard]] std::unique_ptr<certificate_interface> create_certificate_from_der(byte_view der
    ) override {
        const error_scope scope;
        refuse_empty<exceptions::certificate_empty>(der);
        return make_certificate<exceptions::certificate_der_invalid>(certificate_from_der(der));
    }

    [[nodiscard]] std::unique_ptr<certificate_validator_interface>
    create_certificate_validator(bool use_platform_store) override {
        const error_scope scope;
        return std::make_unique<certificate_validator>(
            std::make_unique<trust_store>(shared_from_this(), use_platform_store)
        );
    }

    [[nodiscard]] std::unique_ptr<certificate_revocation_list_interface>
    create_crl_from_pem(byte_view pem, const key_interface* issuer_key) override {
        const error_scope scope;
        refuse_empty<exceptions::certificate_revocation_list_empty>(pem);
        return make_crl<exceptions::certificate_revocation_list_pem_invalid>(
            crl_from_pem(pem), issuer_key
        );
    }

    [[nodiscard]] std::unique_ptr<certificate_revocation_list_interface>
    create_crl_from_der(byte_view der, const key_interface* issuer_key) override {
        const error_scope scope;
        refuse_empty<exceptions::certificate_revocation_list_empty>(der);
        return make_crl<exceptions::certificate_revocation_list_der_invalid>(
            crl_from_der(der), issuer_key
        );
    }

  private:
    template <typename Failure>
    static void refuse_empty(byte_view bytes) {
        if (bytes.empty()) {
            throw Failure{};
        }
    }

    template <typename Failure>
    std::unique_ptr<certificate_interface> make_certificate(x509_ptr x509) {
        if (x509 == nullptr) {
            throw Failure{};
        }
        return std::make_unique<certificate>(std::move(x509), shared_from_this());
    }

    template <typename Failure>
    std::unique_ptr<certificate_revocation_list_interface>
    make_crl(x509_crl_ptr crl, const key_interface* issuer_key) {
        if (crl == nullptr) {
            throw Failure{};
        }
        if (issuer_key != nullptr) {
            const evp_pkey_ptr key = public_key_of(*issuer_key);
            if (X509_CRL_verify(crl.get(), key.get()) != 1) {
                throw exceptions::certificate_revocation_list_signature_verification_failed{
                    take_error_text()};
            }
        }
        return std::make_unique<certificate_revocation_list>(std::move(crl), shared_from_this());
    }
};

} // namespace

std::shared_ptr<allocator> create_openssl_allocator() {
    return std::make_shared<openssl_allocator>();
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
