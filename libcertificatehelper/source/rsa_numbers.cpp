#include "libcertificatehelper/source/rsa_numbers.hpp"

#include "common/catalogue/certificate_exceptions.hpp"

#include <openssl/core_names.h>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

class arithmetic {
  public:
    arithmetic() : context_{BN_CTX_new()} {
        if (context_ == nullptr) {
            throw exceptions::bad_alloc{"BN_CTX_new"};
        }
    }

    /// Whether a * b is c, modulo m unless that is null.
    [[nodiscard]] bool
    product_is(const BIGNUM& a, const BIGNUM& b, const BIGNUM& c, const BIGNUM* m) const {
        const bignum_ptr product{BN_new()};
        const bignum_ptr rest{BN_new()};
        if (product == nullptr || rest == nullptr ||
            BN_mul(product.get(), &a, &b, context_.get()) != 1) {
            return false;
        }
        if (m == nullptr) {
            return BN_cmp(product.get(), &c) == 0;
        }
        return BN_nnmod(rest.get(), product.get(), m, context_.get()) == 1 &&
               BN_cmp(rest.get(), &c) == 0;
    }

  private:
    bn_ctx_ptr context_;
};

bignum_ptr number_of(const EVP_PKEY& key, const char* name) {
    BIGNUM* number = nullptr;
    EVP_PKEY_get_bn_param(&key, name, &number);
    return bignum_ptr{number};
}

/// One of the two factors with what belongs to it.
struct prime_factor {
    bignum_ptr number;
    bignum_ptr less_one;
    bignum_ptr exponent; ///< d mod (number - 1)
};

prime_factor factor_of(const EVP_PKEY& key, const char* name, const char* exponent) {
    prime_factor factor{number_of(key, name), number_of(key, name), number_of(key, exponent)};
    if (factor.less_one != nullptr && BN_sub_word(factor.less_one.get(), 1) != 1) {
        factor.less_one.reset();
    }
    return factor;
}

/// Whether e * (d mod (p - 1)) is 1 modulo p - 1, and that remainder is the one that is kept.
bool fits(
    const prime_factor& factor, const BIGNUM& e, const BIGNUM& d, const arithmetic& calculate
) {
    const BIGNUM* const one = BN_value_one();
    return factor.number != nullptr && factor.less_one != nullptr && factor.exponent != nullptr &&
           BN_is_zero(factor.less_one.get()) == 0 &&
           calculate.product_is(e, d, *one, factor.less_one.get()) &&
           calculate.product_is(d, *one, *factor.exponent, factor.less_one.get());
}

} // namespace

bool has_whole_rsa_numbers(const EVP_PKEY& key) {
    const arithmetic calculate;
    const bignum_ptr n = number_of(key, OSSL_PKEY_PARAM_RSA_N);
    const bignum_ptr e = number_of(key, OSSL_PKEY_PARAM_RSA_E);
    const bignum_ptr d = number_of(key, OSSL_PKEY_PARAM_RSA_D);
    const bignum_ptr coefficient = number_of(key, OSSL_PKEY_PARAM_RSA_COEFFICIENT1);
    const prime_factor p =
        factor_of(key, OSSL_PKEY_PARAM_RSA_FACTOR1, OSSL_PKEY_PARAM_RSA_EXPONENT1);
    const prime_factor q =
        factor_of(key, OSSL_PKEY_PARAM_RSA_FACTOR2, OSSL_PKEY_PARAM_RSA_EXPONENT2);
    return n != nullptr && e != nullptr && d != nullptr && coefficient != nullptr &&
           fits(p, *e, *d, calculate) && fits(q, *e, *d, calculate) &&
           calculate.product_is(*p.number, *q.number, *n, nullptr) &&
           calculate.product_is(*coefficient, *q.number, *BN_value_one(), p.number.get());
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
