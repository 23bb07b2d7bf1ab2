#include "libcertificatehelper/source/key_cost.hpp"

#include "libcertificatehelper/source/decoding.hpp"
#include "libcertificatehelper/source/openssl_error.hpp"
#include "libcertificatehelper/source/owners.hpp"

#include <initializer_list>

#include <openssl/pem.h>
#include <openssl/x509.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

// Both take some seconds. Usual files have 2 048 to 1 300 000 rounds of PBKDF2, and 131 072 (N * r
// * p) units of scrypt.
constexpr std::uint64_t maximum_rounds = 5'000'000;
constexpr std::uint64_t maximum_scrypt_units = 1U << 22U;

using pbe_parameters_ptr = owner<PBEPARAM, PBEPARAM_free>;
using pbe2_parameters_ptr = owner<PBE2PARAM, PBE2PARAM_free>;
using pbkdf2_parameters_ptr = owner<PBKDF2PARAM, PBKDF2PARAM_free>;
using scrypt_parameters_ptr = owner<SCRYPT_PARAMS, SCRYPT_PARAMS_free>;

/// One block of a PEM text; wiped because it may be a key.
class pem_block {
  public:
    pem_block() = default;
    pem_block(const pem_block&) = delete;
    pem_block& operator=(const pem_block&) = delete;
    ~pem_block() {
        free_openssl_memory(name_);
        free_openssl_memory(header_);
        OPENSSL_clear_free(data_, static_cast<std::size_t>(size_));
    }

    [[nodiscard]] bool read(BIO& bio) {
        return PEM_read_bio(&bio, &name_, &header_, &data_, &size_) == 1;
    }

    [[nodiscard]] byte_view data() const { return {data_, static_cast<std::size_t>(size_)}; }

  private:
    char* name_ = nullptr;
    char* header_ = nullptr;
    unsigned char* data_ = nullptr;
    long size_ = 0;
};

/// Whether the product of the numbers is at most `limit`.
bool is_within(std::uint64_t limit, std::initializer_list<const ASN1_INTEGER*> numbers) {
    std::uint64_t product = 1;
    for (const ASN1_INTEGER* number : numbers) {
        std::uint64_t value = 0;
        if (ASN1_INTEGER_get_uint64(&value, number) != 1 || value > limit / product) {
            return false;
        }
        product *= value == 0 ? 1 : value;
    }
    return true;
}

template <typename Owner>
Owner parameters_of(const X509_ALGOR& algorithm, const ASN1_ITEM* type) {
    return Owner{
        static_cast<typename Owner::pointer>(ASN1_TYPE_unpack_sequence(type, algorithm.parameter))};
}

/// What cannot be decoded here costs nothing: OpenSSL refuses it as well.
bool is_affordable(const X509_ALGOR& encryption) {
    pbe2_parameters_ptr scheme;
    const X509_ALGOR* derivation = &encryption;
    if (OBJ_obj2nid(encryption.algorithm) == NID_pbes2) {
        scheme = parameters_of<pbe2_parameters_ptr>(encryption, ASN1_ITEM_rptr(PBE2PARAM));
        if (scheme == nullptr) {
            return true;
        }
        derivation = scheme->keyfunc;
    }
    switch (OBJ_obj2nid(derivation->algorithm)) {
    case NID_id_pbkdf2: {
        const auto pbkdf2 =
            parameters_of<pbkdf2_parameters_ptr>(*derivation, ASN1_ITEM_rptr(PBKDF2PARAM));
        return pbkdf2 == nullptr || is_within(maximum_rounds, {pbkdf2->iter});
    }
    case NID_id_scrypt: {
        const auto scrypt =
            parameters_of<scrypt_parameters_ptr>(*derivation, ASN1_ITEM_rptr(SCRYPT_PARAMS));
        return scrypt == nullptr ||
               is_within(
                   maximum_scrypt_units,
                   {scrypt->costParameter, scrypt->blockSize, scrypt->parallelizationParameter}
               );
    }
    default: {
        const auto pbe = parameters_of<pbe_parameters_ptr>(*derivation, ASN1_ITEM_rptr(PBEPARAM));
        return pbe == nullptr || is_within(maximum_rounds, {pbe->iter});
    }
    }
}

bool is_affordable(const pem_block& block) {
    const byte_view data = block.data();
    const unsigned char* position = data.data();
    const x509_sig_ptr sealed{d2i_X509_SIG(nullptr, &position, static_cast<long>(data.size()))};
    if (sealed == nullptr) {
        return true;
    }
    const X509_ALGOR* encryption = nullptr;
    X509_SIG_get0(sealed.get(), &encryption, nullptr);
    return is_affordable(*encryption);
}

} // namespace

bool has_affordable_key_derivation(byte_view pem) {
    const error_scope scope; // what fails to decode here is no reason to tell
    const bio_ptr bio = bio_over(pem);
    // A block that cannot be read does not hide those behind it, as long as there is progress.
    for (std::size_t left = BIO_ctrl_pending(bio.get()), before = left + 1;
         left != 0 && left < before;
         before = left, left = BIO_ctrl_pending(bio.get())) {
        pem_block block;
        if (block.read(*bio) && !is_affordable(block)) {
            return false;
        }
    }
    return true;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
