#include <basalt/coding/key_soundness.h>

#include <basalt/coding/der_reader.h>
#include <basalt/coding/openssl_owner.h>
#include <basalt/coding/rsa_exponent.h>

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/objects.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace basalt {

namespace {

using Number = OpensslOwner<BIGNUM, BN_free>;

// The longest points have 72 octets for each coordinate, and one before them.
constexpr std::size_t kMaxPointBytes = 145;

Number number_of(const EVP_PKEY* key, const char* name) {
    BIGNUM* read = nullptr;
    EVP_PKEY_get_bn_param(key, name, &read);
    return Number(read);
}

bool is_sound_rsa(const EVP_PKEY* key) {
    const std::optional<RsaExponent> exponent = rsa_exponent_of(key);
    return exponent && exponent->is_odd && exponent->bits > 1;
}

// More than one, and less than what is one but for its sign.
bool is_inside(const Number& number, const Number& prime) {
    const Number last(BN_dup(prime.get()));
    return last && BN_sub_word(last.get(), 1) == 1 && BN_cmp(number.get(), BN_value_one()) > 0 &&
           BN_cmp(number.get(), last.get()) < 0;
}

bool is_sound_dsa(const EVP_PKEY* key) {
    const Number prime = number_of(key, OSSL_PKEY_PARAM_FFC_P);
    const Number base = number_of(key, OSSL_PKEY_PARAM_FFC_G);
    const Number value = number_of(key, OSSL_PKEY_PARAM_PUB_KEY);
    return prime && base && value && is_inside(base, prime) && is_inside(value, prime);
}

// Named curves over primes have no points of small order, those of characteristic two have.
bool has_large_order(const EVP_PKEY* key, Bytes encoded) {
    using Group = OpensslOwner<EC_GROUP, EC_GROUP_free>;
    using Point = OpensslOwner<EC_POINT, EC_POINT_free>;
    char name[64];
    if (EVP_PKEY_get_group_name(key, name, sizeof name, nullptr) != 1) {
        return false;
    }
    const Group group(EC_GROUP_new_by_curve_name(OBJ_txt2nid(name)));
    if (!group) {
        return false;
    }
    const Point point(EC_POINT_new(group.get()));
    return point &&
           EC_POINT_oct2point(group.get(), point.get(), encoded.data(), encoded.size(), nullptr) ==
               1 &&
           EC_POINT_mul(group.get(), point.get(), nullptr, point.get(),
                        EC_GROUP_get0_cofactor(group.get()), nullptr) == 1 &&
           EC_POINT_is_at_infinity(group.get(), point.get()) == 0;
}

bool is_sound_point(const EVP_PKEY* key) {
    std::array<unsigned char, kMaxPointBytes> point{};
    std::size_t size = 0;
    // The point at infinity has no octets, or one.
    return EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size(),
                                           &size) == 1 &&
           size > 1 &&
           (EVP_PKEY_get_field_type(key) == NID_X9_62_prime_field ||
            has_large_order(key, Bytes(point).first(size)));
}

constexpr const char* kOrdinatesOfOrder8[] = {
    "05fc536d880238b13933c6d305acdfd5f098eff289f4c345b027b2c28f95e826",
    "7a03ac9277fdc74ec6cc392cfa53202a0f67100d760b3cba4fd84d3d706a17c7"};

// RFC 8032, 5.1 and 5.2.
Number prime_of(bool is_448) {
    Number prime(BN_new());
    Number middle(BN_new());
    const bool made = prime && middle && BN_set_bit(prime.get(), is_448 ? 448 : 255) == 1 &&
                      (!is_448 || (BN_set_bit(middle.get(), 224) == 1 &&
                                   BN_sub(prime.get(), prime.get(), middle.get()) == 1)) &&
                      BN_sub_word(prime.get(), is_448 ? 1 : 19) == 1;
    return made ? std::move(prime) : nullptr;
}

// Points of order 1, 2 and 4 have the ordinates 1, -1 and 0; no honest key's is written as the
// prime or more. The last bit is the sign of the abscissa.
bool is_sound_edwards(const EVP_PKEY* key, bool is_448) {
    std::array<unsigned char, 57> point{};
    std::size_t size = point.size();
    const Number prime = prime_of(is_448);
    if (!prime || EVP_PKEY_get_raw_public_key(key, point.data(), &size) != 1 || size == 0) {
        return false;
    }
    point[size - 1] &= 0x7F;
    const Number ordinate(BN_lebin2bn(point.data(), static_cast<int>(size), nullptr));
    if (!ordinate) {
        return false;
    }
    const auto is_of_order_8 = [&](const char* text) {
        BIGNUM* read = nullptr;
        BN_hex2bn(&read, text);
        const Number small(read);
        return !small || BN_cmp(ordinate.get(), small.get()) == 0;
    };
    return is_inside(ordinate, prime) &&
           (is_448 || std::none_of(std::begin(kOrdinatesOfOrder8), std::end(kOrdinatesOfOrder8),
                                   is_of_order_8));
}

bool is_sound_of_its_kind(const EVP_PKEY* key) {
    switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
        return is_sound_rsa(key);
    case EVP_PKEY_DSA:
        return is_sound_dsa(key);
    case EVP_PKEY_EC:
        return is_sound_point(key);
    case EVP_PKEY_ED25519:
        return is_sound_edwards(key, false);
    case EVP_PKEY_ED448:
        return is_sound_edwards(key, true);
    default:
        return true;
    }
}

} // namespace

bool is_sound(const EVP_PKEY* key) {
    const bool sound = key != nullptr && is_sound_of_its_kind(key);
    ERR_clear_error();
    return sound;
}

} // namespace basalt
