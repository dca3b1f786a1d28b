#include <basalt/certificate/strength.h>

#include <basalt/coding/openssl_owner.h>
#include <basalt/configuration.h>
#include <basalt/error_codes.h>

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <string_view>

namespace basalt {

namespace {

constexpr char kKey[] = "\\config\\basalt\\Strength";

constexpr int kBroken[] = {NID_md2,  NID_md4,       NID_md5, NID_md5_sha1,
                           NID_mdc2, NID_ripemd160, NID_sha};
constexpr int kMinDigestBits = 160;
constexpr int kShaOneBits = 160;

constexpr int kMinRsaBits = 1024;
constexpr int kCurrentRsaBits = 2048;
constexpr int kMinCurveBits = 160;
constexpr int kCurrentCurveBits = 224;

Strength by_bits(int bits, int least, int current) {
    if (bits < least) {
        return Strength::refused;
    }
    return bits < current ? Strength::aged : Strength::current;
}

Strength strength_of_digest(int nid) {
    if (std::find(std::begin(kBroken), std::end(kBroken), nid) != std::end(kBroken)) {
        return Strength::refused;
    }
    return strength_of(EVP_get_digestbynid(nid));
}

// Where nothing is written, RSASSA-PSS takes SHA-1 (RFC 4055, 3.1).
Strength strength_of_part(const X509_ALGOR* digest) {
    return digest == nullptr ? Strength::aged : strength_of_digest(OBJ_obj2nid(digest->algorithm));
}

Strength strength_of_pss(const X509_ALGOR* signature) {
    if (signature->parameter == nullptr) {
        return Strength::aged;
    }
    const OpensslOwner<RSA_PSS_PARAMS, RSA_PSS_PARAMS_free> parameters(static_cast<RSA_PSS_PARAMS*>(
        ASN1_TYPE_unpack_sequence(ASN1_ITEM_rptr(RSA_PSS_PARAMS), signature->parameter)));
    ERR_clear_error();
    // The mask's digest needs no collision resistance: that of the message alone counts.
    return parameters ? strength_of_part(parameters->hashAlgorithm) : Strength::refused;
}

} // namespace

Strength strength_of(const EVP_MD* digest) {
    if (digest == nullptr) {
        return Strength::refused;
    }
    const int nid = EVP_MD_get_type(digest);
    if (std::find(std::begin(kBroken), std::end(kBroken), nid) != std::end(kBroken)) {
        return Strength::refused;
    }
    return by_bits(EVP_MD_get_size(digest) * 8, kMinDigestBits, kShaOneBits + 1);
}

Strength strength_of(const PublicKey& key) {
    if (!key.is_sound()) {
        return Strength::refused;
    }
    switch (key.type()) {
    case EVP_PKEY_RSA:
    case EVP_PKEY_RSA_PSS:
    case EVP_PKEY_DSA:
        return by_bits(EVP_PKEY_get_bits(key.get()), kMinRsaBits, kCurrentRsaBits);
    case EVP_PKEY_EC:
        return by_bits(EVP_PKEY_get_bits(key.get()), kMinCurveBits, kCurrentCurveBits);
    default:
        return Strength::current; // Ed25519, Ed448 and the keys of GOST have 255 bits or more
    }
}

Strength strength_of(const X509_ALGOR* signature) {
    const int nid = OBJ_obj2nid(signature->algorithm);
    if (nid == NID_rsassaPss) {
        return strength_of_pss(signature);
    }
    int digest = NID_undef;
    int key = NID_undef;
    if (OBJ_find_sigid_algs(nid, &digest, &key) != 1) {
        return Strength::refused;
    }
    return digest == NID_undef ? Strength::current : strength_of_digest(digest);
}

StrengthLevel configured_strength() {
    char text[16];
    std::size_t size = sizeof text - 1;
    const int result = support_registry_get_string(kKey, &size, text);
    if (result == ERROR_FILE_NOT_FOUND) {
        return StrengthLevel::floor;
    }
    return result == 0 && std::string_view(text, size) == "floor" ? StrengthLevel::floor
                                                                  : StrengthLevel::current;
}

} // namespace basalt
