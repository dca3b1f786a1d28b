// The table of object identifiers and the searches in it.
#include <basalt/oid_information.h>

#include <basalt/basalt10/digest.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>

#include <cstring>
#include <cwchar>

namespace {

// What ExtraInfo points to: the public key of a signature algorithm.
ALG_ID rsa_sign = CALG_RSA_SIGN;
ALG_ID dss_sign = CALG_DSS_SIGN;
ALG_ID ecdsa = CALG_ECDSA;
ALG_ID gost_2001 = CALG_GOSTR3410_2001;
ALG_ID gost_2012_256 = CALG_GOSTR3410_2012_256;
ALG_ID gost_2012_512 = CALG_GOSTR3410_2012_512;

CRYPT_OID_INFO entry(DWORD group, LPCSTR oid, LPCWSTR name, ALG_ID algorithm) {
    return {sizeof(CRYPT_OID_INFO), oid, name, group, {algorithm}, {0, nullptr}};
}

CRYPT_OID_INFO hash(LPCSTR oid, LPCWSTR name, ALG_ID algorithm) {
    return entry(CRYPT_HASH_ALG_OID_GROUP_ID, oid, name, algorithm);
}

CRYPT_OID_INFO key(LPCSTR oid, LPCWSTR name, ALG_ID algorithm) {
    return entry(CRYPT_PUBKEY_ALG_OID_GROUP_ID, oid, name, algorithm);
}

CRYPT_OID_INFO usage(LPCSTR oid, LPCWSTR name) {
    return entry(CRYPT_ENHKEY_USAGE_OID_GROUP_ID, oid, name, 0);
}

CRYPT_OID_INFO signature(LPCSTR oid, LPCWSTR name, ALG_ID hash_algorithm, ALG_ID& public_key) {
    CRYPT_OID_INFO info = entry(CRYPT_SIGN_ALG_OID_GROUP_ID, oid, name, hash_algorithm);
    info.ExtraInfo = {sizeof public_key, reinterpret_cast<BYTE*>(&public_key)};
    return info;
}

// Where several entries answer a question the first one counts.
const CRYPT_OID_INFO kEntries[] = {
    hash("2.16.840.1.101.3.4.2.1", L"sha256", CALG_SHA_256),
    hash("1.3.14.3.2.26", L"sha1", CALG_SHA1),
    hash("2.16.840.1.101.3.4.2.2", L"sha384", CALG_SHA_384),
    hash("2.16.840.1.101.3.4.2.3", L"sha512", CALG_SHA_512),
    hash("1.2.840.113549.2.5", L"md5", CALG_MD5),
    hash("2.16.840.1.101.3.4.2.4", L"sha224", CALG_BASALT_SHA_224),
    hash("2.16.840.1.101.3.4.2.5", L"sha512-224", CALG_BASALT_SHA_512_224),
    hash("2.16.840.1.101.3.4.2.6", L"sha512-256", CALG_BASALT_SHA_512_256),
    hash("2.16.840.1.101.3.4.2.7", L"sha3-224", CALG_BASALT_SHA3_224),
    hash("2.16.840.1.101.3.4.2.8", L"sha3-256", CALG_BASALT_SHA3_256),
    hash("2.16.840.1.101.3.4.2.9", L"sha3-384", CALG_BASALT_SHA3_384),
    hash("2.16.840.1.101.3.4.2.10", L"sha3-512", CALG_BASALT_SHA3_512),
    hash("1.2.643.2.2.9", L"GOST R 34.11-94", CALG_GOSTR3411_94),
    hash("1.2.643.7.1.1.2.2", L"GOST R 34.11-2012 256 bit", CALG_GOSTR3411_2012_256),
    hash("1.2.643.7.1.1.2.3", L"GOST R 34.11-2012 512 bit", CALG_GOSTR3411_2012_512),

    key("1.2.840.113549.1.1.1", L"RSA", CALG_RSA_KEYX),
    key("1.2.840.113549.1.1.1", L"RSA_SIGN", CALG_RSA_SIGN),
    key("1.2.840.10040.4.1", L"DSA", CALG_DSS_SIGN),
    key("1.2.840.10045.2.1", L"ECC", CALG_ECDSA),
    key("1.3.101.112", L"Ed25519", CALG_OID_INFO_CNG_ONLY),
    key("1.3.101.113", L"Ed448", CALG_OID_INFO_CNG_ONLY),
    key("1.2.643.2.2.19", L"GOST R 34.10-2001", CALG_GOSTR3410_2001),
    key("1.2.643.7.1.1.1.1", L"GOST R 34.10-2012 256 bit", CALG_GOSTR3410_2012_256),
    key("1.2.643.7.1.1.1.2", L"GOST R 34.10-2012 512 bit", CALG_GOSTR3410_2012_512),

    signature("1.2.840.113549.1.1.11", L"sha256RSA", CALG_SHA_256, rsa_sign),
    signature("1.2.840.113549.1.1.12", L"sha384RSA", CALG_SHA_384, rsa_sign),
    signature("1.2.840.113549.1.1.13", L"sha512RSA", CALG_SHA_512, rsa_sign),
    signature("1.2.840.113549.1.1.5", L"sha1RSA", CALG_SHA1, rsa_sign),
    signature("1.3.14.3.2.29", L"sha1RSA", CALG_SHA1, rsa_sign),
    signature("1.2.840.113549.1.1.4", L"md5RSA", CALG_MD5, rsa_sign),
    signature("1.2.840.113549.1.1.10", L"RSASSA-PSS", CALG_OID_INFO_PARAMETERS, rsa_sign),
    signature("1.2.840.10045.4.3.2", L"sha256ECDSA", CALG_SHA_256, ecdsa),
    signature("1.2.840.10045.4.3.3", L"sha384ECDSA", CALG_SHA_384, ecdsa),
    signature("1.2.840.10045.4.3.4", L"sha512ECDSA", CALG_SHA_512, ecdsa),
    signature("1.2.840.10045.4.1", L"sha1ECDSA", CALG_SHA1, ecdsa),
    signature("1.2.840.10045.4.3", L"specifiedECDSA", CALG_OID_INFO_PARAMETERS, ecdsa),
    signature("1.2.840.10040.4.3", L"sha1DSA", CALG_SHA1, dss_sign),
    signature("2.16.840.1.101.3.4.3.2", L"sha256DSA", CALG_SHA_256, dss_sign),
    signature("1.2.840.113549.1.1.14", L"sha224RSA", CALG_BASALT_SHA_224, rsa_sign),
    signature("1.2.840.113549.1.1.15", L"sha512-224RSA", CALG_BASALT_SHA_512_224, rsa_sign),
    signature("1.2.840.113549.1.1.16", L"sha512-256RSA", CALG_BASALT_SHA_512_256, rsa_sign),
    signature("2.16.840.1.101.3.4.3.13", L"sha3-224RSA", CALG_BASALT_SHA3_224, rsa_sign),
    signature("2.16.840.1.101.3.4.3.14", L"sha3-256RSA", CALG_BASALT_SHA3_256, rsa_sign),
    signature("2.16.840.1.101.3.4.3.15", L"sha3-384RSA", CALG_BASALT_SHA3_384, rsa_sign),
    signature("2.16.840.1.101.3.4.3.16", L"sha3-512RSA", CALG_BASALT_SHA3_512, rsa_sign),
    signature("1.2.840.10045.4.3.1", L"sha224ECDSA", CALG_BASALT_SHA_224, ecdsa),
    signature("2.16.840.1.101.3.4.3.9", L"sha3-224ECDSA", CALG_BASALT_SHA3_224, ecdsa),
    signature("2.16.840.1.101.3.4.3.10", L"sha3-256ECDSA", CALG_BASALT_SHA3_256, ecdsa),
    signature("2.16.840.1.101.3.4.3.11", L"sha3-384ECDSA", CALG_BASALT_SHA3_384, ecdsa),
    signature("2.16.840.1.101.3.4.3.12", L"sha3-512ECDSA", CALG_BASALT_SHA3_512, ecdsa),
    signature("2.16.840.1.101.3.4.3.1", L"sha224DSA", CALG_BASALT_SHA_224, dss_sign),
    signature("1.2.643.2.2.3", L"GOST R 34.11/34.10-2001", CALG_GOSTR3411_94, gost_2001),
    signature("1.2.643.7.1.1.3.2", L"GOST R 34.11-2012/34.10-2012 256 bit", CALG_GOSTR3411_2012_256,
              gost_2012_256),
    signature("1.2.643.7.1.1.3.3", L"GOST R 34.11-2012/34.10-2012 512 bit", CALG_GOSTR3411_2012_512,
              gost_2012_512),

    usage("1.3.6.1.5.5.7.3.1", L"Server Authentication"),
    usage("1.3.6.1.5.5.7.3.2", L"Client Authentication"),
    usage("1.3.6.1.5.5.7.3.3", L"Code Signing"),
    usage("1.3.6.1.5.5.7.3.4", L"Secure Email"),
    usage("1.3.6.1.5.5.7.3.8", L"Time Stamping"),
    usage("1.3.6.1.5.5.7.3.9", L"OCSP Signing"),
};

bool is_gost(const CRYPT_OID_INFO& info) {
    return std::strncmp(info.pszOID, "1.2.643.", 8) == 0;
}

ALG_ID public_key_of(const CRYPT_OID_INFO& info) {
    ALG_ID result = 0;
    if (info.ExtraInfo.cbData == sizeof result) {
        std::memcpy(&result, info.ExtraInfo.pbData, sizeof result);
    }
    return result;
}

// An entry without an identifier of its own can't be asked for by one.
bool has_algorithm(const CRYPT_OID_INFO& info, ALG_ID algorithm) {
    return info.dwGroupId <= CRYPT_PUBKEY_ALG_OID_GROUP_ID && info.Algid == algorithm &&
           algorithm != 0 && algorithm < CALG_OID_INFO_PARAMETERS;
}

bool answers(const CRYPT_OID_INFO& info, DWORD key_type, const void* key) {
    switch (key_type) {
    case CRYPT_OID_INFO_OID_KEY:
        return std::strcmp(info.pszOID, static_cast<LPCSTR>(key)) == 0;
    case CRYPT_OID_INFO_NAME_KEY:
        return wcscasecmp(info.pwszName, static_cast<LPCWSTR>(key)) == 0;
    case CRYPT_OID_INFO_ALGID_KEY:
        return has_algorithm(info, *static_cast<const ALG_ID*>(key));
    default: { // CRYPT_OID_INFO_SIGN_KEY
        const auto* pair = static_cast<const ALG_ID*>(key);
        return info.dwGroupId == CRYPT_SIGN_ALG_OID_GROUP_ID && info.Algid == pair[0] &&
               public_key_of(info) == pair[1];
    }
    }
}

PCCRYPT_OID_INFO find(DWORD key_type, const void* key, DWORD group) {
    for (const CRYPT_OID_INFO& info : kEntries) {
        // Last of all, since it may load the engine.
        if ((group == 0 || info.dwGroupId == group) && answers(info, key_type, key) &&
            (!is_gost(info) || basalt::gost_available())) {
            return &info;
        }
    }
    return nullptr;
}

} // namespace

PCCRYPT_OID_INFO CryptFindOIDInfo(DWORD keyType, const void* key, DWORD group) noexcept {
    if (key == nullptr || keyType < CRYPT_OID_INFO_OID_KEY || keyType > CRYPT_OID_INFO_SIGN_KEY) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const PCCRYPT_OID_INFO found = find(keyType, key, group & 0xFFFF);
    if (found == nullptr) {
        const bool by_algorithm =
            keyType == CRYPT_OID_INFO_ALGID_KEY || keyType == CRYPT_OID_INFO_SIGN_KEY;
        SetLastError(by_algorithm ? NTE_BAD_ALGID : CRYPT_E_NOT_FOUND);
    }
    return found;
}

DWORD CertOIDToAlgId(LPCSTR oid) noexcept {
    const PCCRYPT_OID_INFO found = oid == nullptr ? nullptr : find(CRYPT_OID_INFO_OID_KEY, oid, 0);
    if (found == nullptr || found->Algid == 0 || found->Algid >= CALG_OID_INFO_PARAMETERS) {
        SetLastError(NTE_BAD_ALGID);
        return 0;
    }
    return found->Algid;
}

LPCSTR CertAlgIdToOID(DWORD algId) noexcept {
    const PCCRYPT_OID_INFO found = find(CRYPT_OID_INFO_ALGID_KEY, &algId, 0);
    if (found == nullptr) {
        SetLastError(NTE_BAD_ALGID);
        return nullptr;
    }
    return found->pszOID;
}
