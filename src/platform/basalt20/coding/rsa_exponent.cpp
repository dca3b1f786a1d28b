#include <basalt/coding/rsa_exponent.h>

#include <basalt/coding/openssl_owner.h>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/params.h>

#include <bit>
#include <cstdint>

namespace basalt {

std::optional<RsaExponent> rsa_exponent_of(const EVP_PKEY* key) {
    std::uint64_t word = 0;
    OSSL_PARAM wanted[] = {OSSL_PARAM_construct_uint64(OSSL_PKEY_PARAM_RSA_E, &word),
                           OSSL_PARAM_construct_end()};
    if (EVP_PKEY_get_params(key, wanted) == 1 && OSSL_PARAM_modified(&wanted[0]) == 1) {
        return RsaExponent{static_cast<unsigned>(std::bit_width(word)), word % 2 == 1};
    }
    BIGNUM* read = nullptr;
    EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_E, &read);
    const OpensslOwner<BIGNUM, BN_free> exponent(read);
    if (!exponent) {
        return std::nullopt;
    }
    return RsaExponent{static_cast<unsigned>(BN_num_bits(exponent.get())),
                       BN_is_odd(exponent.get()) == 1};
}

} // namespace basalt
