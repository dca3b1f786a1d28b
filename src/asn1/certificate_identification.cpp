#include <chronoseal/asn1/certificate_identification.h>

#include <limits>

#include <basalt/last_error.h>
#include <basalt/object_coding.h>
#include <basalt/oid_information.h>
#include <chronoseal/asn1/failure.h>
#include <chronoseal/atl/cert_context.h>

namespace Halcyon::ASN1 {

namespace {

constexpr char kSha1[] = "1.3.14.3.2.26";
constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

DWORD encoded_size(const CBlob& certificate) {
    if (certificate.cbData() > std::numeric_limits<DWORD>::max()) {
        fail_argument();
    }
    return static_cast<DWORD>(certificate.cbData());
}

// The algorithm that a certificate is to be hashed with so that it can be compared with `id`.
CAlgorithmIdentifierEx hash_algorithm_of(const COtherCertID& id) {
    const COtherHashAlgAndValue* const hash = id.get_otherCertHash().get_otherHash();
    return hash ? CAlgorithmIdentifierEx(hash->get_hashAlgorithm()) : CAlgorithmIdentifierEx(kSha1);
}

} // namespace

CBlob CalculateCertificateHash(const unsigned char* encoded, unsigned int size,
                               const std::string& algorithmOid) {
    CBlob hash(64ul);
    DWORD hash_size = 64;
    const ALG_ID algorithm = CertOIDToAlgId(algorithmOid.c_str());
    BOOL done = CryptHashCertificate(0, algorithm, 0, encoded, size, hash.pbData(), &hash_size);
    if (!done && GetLastError() == ERROR_MORE_DATA) {
        hash.resize_to(hash_size);
        done = CryptHashCertificate(0, algorithm, 0, encoded, size, hash.pbData(), &hash_size);
    }
    if (!done) {
        throw_last_error();
    }
    hash.resize_to(hash_size);
    return hash;
}

CBigInteger GetSerialFromCertContext(const CERT_CONTEXT* context) {
    const CRYPT_INTEGER_BLOB* const serial = &context->pCertInfo->SerialNumber;
    DWORD size = 0;
    if (!CryptEncodeObject(kEncoding, X509_MULTI_BYTE_INTEGER, serial, nullptr, &size)) {
        throw_last_error();
    }
    CBlob der(static_cast<unsigned long>(size));
    if (!CryptEncodeObject(kEncoding, X509_MULTI_BYTE_INTEGER, serial, der.pbData(), &size)) {
        throw_last_error();
    }
    CBigInteger result;
    result.decode(der);
    return result;
}

CIssuerSerial GetIssuerSerialFromCertificate(const CBlob& certificate) {
    const ATL2::CCertContext context(
        CertCreateCertificateContext(kEncoding, certificate.pbData(), encoded_size(certificate)));
    if (!context) {
        throw_last_error();
    }
    const CERT_NAME_BLOB& issuer = context->pCertInfo->Issuer;
    CGeneralNames names(1);
    names.front().put_directoryName(CBlob(issuer.pbData, issuer.cbData));
    return CIssuerSerial(names, GetSerialFromCertContext(context.get()));
}

COtherCertID OtherCertIDFromCertificate(const CBlob& certificate,
                                        const CAlgorithmIdentifierEx& algorithm,
                                        bool withIssuerSerial) {
    const CBlob hash = CalculateCertificateHash(certificate.pbData(), encoded_size(certificate),
                                                algorithm.get_algorithm());
    COtherCertID id(hash, algorithm);
    if (withIssuerSerial) {
        const CIssuerSerial issuer_serial = GetIssuerSerialFromCertificate(certificate);
        id.put_issuerSerial(&issuer_serial);
    }
    return id;
}

bool OtherCertIDMatches(const COtherCertID& id, const CBlob& certificate) {
    const COtherCertID fresh = OtherCertIDFromCertificate(certificate, hash_algorithm_of(id),
                                                          id.get_issuerSerial() != nullptr);
    return fresh == id;
}

} // namespace Halcyon::ASN1
