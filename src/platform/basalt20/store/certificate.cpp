// Certificate contexts: life, properties, comparisons.
#include <basalt/certificate.h>

#include <basalt/basalt10/digest.h>
#include <basalt/certificate/body_cache.h>
#include <basalt/coding/flat_block.h>
#include <basalt/coding/signature_algorithm.h>
#include <basalt/store/memory_store.h>
#include <basalt/store/record.h>
#include <basalt/time_conversion.h>

#include <algorithm>
#include <string_view>

namespace {

using namespace basalt;

constexpr DWORD kMaxPropertyId = 0xFFFF;

std::string hash(ALG_ID algorithm, Bytes bytes) {
    const EVP_MD* known = digest_by_algorithm(algorithm);
    require(known != nullptr, NTE_BAD_ALGID);
    return digest(known, bytes);
}

Bytes bits(const CRYPT_BIT_BLOB& blob) {
    return {blob.pbData, blob.cbData};
}

// The extension's value, or the first way of RFC 5280 4.2.1.2: SHA-1 of the key's bits.
std::string key_identifier(const CERT_INFO& info) {
    if (const CERT_EXTENSION* extension =
            CertFindExtension("2.5.29.14", info.cExtension, info.rgExtension)) {
        const Bytes value = sole_element(bytes_of(extension->Value), tag::kOctetString).contents;
        return {value.begin(), value.end()};
    }
    return hash(CALG_SHA1, bits(info.SubjectPublicKeyInfo.PublicKey));
}

std::optional<std::string> computed_property(const CertificateItem& item, DWORD id) {
    switch (id) {
    case CERT_SHA1_HASH_PROP_ID:
        return hash(CALG_SHA1, item.encoded());
    case CERT_MD5_HASH_PROP_ID:
        return hash(CALG_MD5, item.encoded());
    case CERT_SHA256_HASH_PROP_ID:
        return hash(CALG_SHA_256, item.encoded());
    case CERT_KEY_IDENTIFIER_PROP_ID:
        return key_identifier(item.body->info());
    case CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID:
        return hash(CALG_MD5, bits(item.body->info().SubjectPublicKeyInfo.PublicKey));
    default:
        return std::nullopt;
    }
}

std::string raw(const void* data, std::size_t size) {
    return {static_cast<const char*>(data), size};
}

// The bytes that a property is kept as.
std::string property_value(DWORD id, const void* data) {
    switch (id) {
    case CERT_KEY_PROV_INFO_PROP_ID:
        return pack_key_provider(*static_cast<const CRYPT_KEY_PROV_INFO*>(data));
    case CERT_KEY_SPEC_PROP_ID:
        return raw(data, sizeof(DWORD));
    case CERT_KEY_PROV_HANDLE_PROP_ID: {
        const auto handle = reinterpret_cast<ULONG_PTR>(data);
        return raw(&handle, sizeof(handle));
    }
    case CERT_KEY_CONTEXT_PROP_ID:
        return raw(data, sizeof(CERT_KEY_CONTEXT));
    default: {
        const auto* blob = static_cast<const CRYPT_DATA_BLOB*>(data);
        require(blob->pbData != nullptr || blob->cbData == 0);
        return raw(blob->pbData, blob->cbData);
    }
    }
}

bool is_null_parameter(Bytes parameters) {
    return parameters.empty() || (parameters.size() == 2 && parameters[0] == tag::kNull);
}

Bytes minimal_little_endian(const CRYPT_INTEGER_BLOB& blob) {
    Bytes bytes = bytes_of(blob);
    while (bytes.size() > 1) {
        const bool negative = (bytes[bytes.size() - 2] & 0x80) != 0;
        if (bytes.back() != (negative ? 0xFF : 0x00)) {
            break;
        }
        bytes = bytes.first(bytes.size() - 1);
    }
    return bytes;
}

} // namespace

PCCERT_CONTEXT CertCreateCertificateContext(DWORD, const BYTE* pbCertEncoded, DWORD cbCertEncoded) {
    return guarded<PCCERT_CONTEXT>(nullptr, [&] {
        require(pbCertEncoded != nullptr);
        auto item = std::make_shared<CertificateItem>();
        item->body = body_of({pbCertEncoded, cbCertEncoded});
        return CertificateRecord::make(std::move(item));
    });
}

PCCERT_CONTEXT CertDuplicateCertificateContext(PCCERT_CONTEXT pCertContext) {
    if (pCertContext != nullptr) {
        CertificateRecord::of(pCertContext).add_reference();
    }
    return pCertContext;
}

BOOL CertFreeCertificateContext(PCCERT_CONTEXT pCertContext) {
    if (pCertContext != nullptr) {
        CertificateRecord::of(pCertContext).release();
    }
    return TRUE;
}

BOOL CertGetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, void* pvData,
                                       DWORD* pcbData) {
    return guarded<BOOL>(FALSE, [&] {
        require(pCertContext != nullptr && pcbData != nullptr);
        const CertificateItem& item = CertificateRecord::of(pCertContext).item();
        std::optional<std::string> value = item.properties.find(dwPropId);
        if (!value) {
            value = computed_property(item, dwPropId);
        }
        require(value.has_value(), CRYPT_E_NOT_FOUND);
        if (dwPropId == CERT_KEY_PROV_INFO_PROP_ID) {
            give_key_provider(*value, pvData, pcbData);
        } else {
            give_bytes({reinterpret_cast<const BYTE*>(value->data()), value->size()}, pvData,
                       pcbData);
        }
        return TRUE;
    });
}

BOOL CertSetCertificateContextProperty(PCCERT_CONTEXT pCertContext, DWORD dwPropId, DWORD,
                                       const void* pvData) {
    return guarded<BOOL>(FALSE, [&] {
        require(pCertContext != nullptr && dwPropId != 0 && dwPropId <= kMaxPropertyId);
        CertificateItem& item = CertificateRecord::of(pCertContext).item();
        if (pvData != nullptr) {
            item.properties.set(dwPropId, property_value(dwPropId, pvData));
        } else {
            item.properties.erase(dwPropId);
        }
        if (const auto owner = item.owner.lock()) {
            owner->properties_changed(item);
        }
        return TRUE;
    });
}

DWORD CertEnumCertificateContextProperties(PCCERT_CONTEXT pCertContext, DWORD dwPropId) {
    if (pCertContext == nullptr) {
        return 0;
    }
    return CertificateRecord::of(pCertContext).item().properties.next(dwPropId);
}

BOOL CertCompareCertificate(DWORD dwCertEncodingType, CERT_INFO* pCertId1, CERT_INFO* pCertId2) {
    return CertCompareIntegerBlob(&pCertId1->SerialNumber, &pCertId2->SerialNumber) &&
           CertCompareCertificateName(dwCertEncodingType, &pCertId1->Issuer, &pCertId2->Issuer);
}

BOOL CertCompareCertificateName(DWORD, CERT_NAME_BLOB* pCertName1, CERT_NAME_BLOB* pCertName2) {
    return same_bytes(bytes_of(*pCertName1), bytes_of(*pCertName2)) ? TRUE : FALSE;
}

BOOL CertCompareIntegerBlob(CRYPT_INTEGER_BLOB* pInt1, CRYPT_INTEGER_BLOB* pInt2) {
    return same_bytes(minimal_little_endian(*pInt1), minimal_little_endian(*pInt2)) ? TRUE : FALSE;
}

BOOL CertComparePublicKeyInfo(DWORD, CERT_PUBLIC_KEY_INFO* pPublicKey1,
                              CERT_PUBLIC_KEY_INFO* pPublicKey2) {
    const CRYPT_ALGORITHM_IDENTIFIER& first = pPublicKey1->Algorithm;
    const CRYPT_ALGORITHM_IDENTIFIER& second = pPublicKey2->Algorithm;
    const Bytes a = bytes_of(first.Parameters);
    const Bytes b = bytes_of(second.Parameters);
    const bool same = std::string_view(first.pszObjId) == second.pszObjId &&
                      same_bytes(bits(pPublicKey1->PublicKey), bits(pPublicKey2->PublicKey)) &&
                      (same_bytes(a, b) || (is_null_parameter(a) && is_null_parameter(b)));
    return same ? TRUE : FALSE;
}

CERT_EXTENSION* CertFindExtension(LPCSTR pszObjId, DWORD cExtensions,
                                  CERT_EXTENSION rgExtensions[]) {
    CERT_EXTENSION* end = rgExtensions + cExtensions;
    CERT_EXTENSION* found = std::find_if(rgExtensions, end, [&](const CERT_EXTENSION& extension) {
        return std::string_view(extension.pszObjId) == pszObjId;
    });
    return found == end ? nullptr : found;
}

CRYPT_ATTRIBUTE* CertFindAttribute(LPCSTR pszObjId, DWORD cAttr, CRYPT_ATTRIBUTE rgAttr[]) {
    CRYPT_ATTRIBUTE* end = rgAttr + cAttr;
    CRYPT_ATTRIBUTE* found = std::find_if(rgAttr, end, [&](const CRYPT_ATTRIBUTE& attribute) {
        return std::string_view(attribute.pszObjId) == pszObjId;
    });
    return found == end ? nullptr : found;
}

LONG CertVerifyTimeValidity(FILETIME* pTimeToVerify, CERT_INFO* pCertInfo) {
    FILETIME now{};
    if (pTimeToVerify == nullptr) {
        GetSystemTimeAsFileTime(&now);
        pTimeToVerify = &now;
    }
    if (CompareFileTime(pTimeToVerify, &pCertInfo->NotBefore) < 0) {
        return -1;
    }
    return CompareFileTime(pTimeToVerify, &pCertInfo->NotAfter) > 0 ? 1 : 0;
}

BOOL CryptHashCertificate(HCRYPTPROV, ALG_ID Algid, DWORD, const BYTE* pbEncoded, DWORD cbEncoded,
                          BYTE* pbComputedHash, DWORD* pcbComputedHash) {
    return guarded<BOOL>(FALSE, [&] {
        require(pbEncoded != nullptr || cbEncoded == 0);
        const std::string value = hash(Algid == 0 ? CALG_SHA1 : Algid, {pbEncoded, cbEncoded});
        give_bytes({reinterpret_cast<const BYTE*>(value.data()), value.size()}, pbComputedHash,
                   pcbComputedHash);
        return TRUE;
    });
}
