// Certificates and CRLs of any bytes. What is taken is read as far as it goes, and OpenSSL, where
// it takes the same certificate, sees the same names, serial number and number of extensions.
#include <basalt/crl.h>
#include <basalt/object_coding.h>

#include <openssl/err.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void compare_name(const CERT_NAME_BLOB& ours, const X509_NAME* theirs) {
    const unsigned char* der = nullptr;
    std::size_t size = 0;
    check(X509_NAME_get0_der(const_cast<X509_NAME*>(theirs), &der, &size) == 1);
    // OpenSSL writes a name anew when it came in BER.
    if (size == ours.cbData) {
        check(std::memcmp(der, ours.pbData, size) == 0);
    }
}

void compare_serial(CERT_INFO& info, const X509* theirs) {
    DWORD size = 0;
    check(CryptEncodeObject(1, X509_MULTI_BYTE_INTEGER, &info.SerialNumber, nullptr, &size));
    std::vector<BYTE> ours(size);
    check(CryptEncodeObject(1, X509_MULTI_BYTE_INTEGER, &info.SerialNumber, ours.data(), &size));
    unsigned char* der = nullptr;
    const int length = i2d_ASN1_INTEGER(X509_get0_serialNumber(theirs), &der);
    check(length == static_cast<int>(size) && std::memcmp(der, ours.data(), size) == 0);
    OPENSSL_free(der);
}

void compare(PCCERT_CONTEXT context) {
    const unsigned char* at = context->pbCertEncoded;
    X509* theirs = d2i_X509(nullptr, &at, static_cast<long>(context->cbCertEncoded));
    if (theirs != nullptr) {
        CERT_INFO& info = *context->pCertInfo;
        compare_name(info.Issuer, X509_get_issuer_name(theirs));
        compare_name(info.Subject, X509_get_subject_name(theirs));
        compare_serial(info, theirs);
        check(X509_get_ext_count(theirs) == static_cast<int>(info.cExtension));
        X509_free(theirs);
    }
    ERR_clear_error();
}

void read_properties(PCCERT_CONTEXT context) {
    for (const DWORD id : {CERT_SHA1_HASH_PROP_ID, CERT_KEY_IDENTIFIER_PROP_ID,
                           CERT_SUBJECT_PUBLIC_KEY_MD5_HASH_PROP_ID}) {
        BYTE value[4096];
        DWORD size = sizeof(value);
        CertGetCertificateContextProperty(context, id, value, &size);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const PCCERT_CONTEXT context =
            CertCreateCertificateContext(1, data, static_cast<DWORD>(size))) {
        read_properties(context);
        compare(context);
        CertFreeCertificateContext(context);
    }
    if (const PCCRL_CONTEXT list = CertCreateCRLContext(1, data, static_cast<DWORD>(size))) {
        for (DWORD i = 0; i < list->pCrlInfo->cCRLEntry; ++i) {
            check(list->pCrlInfo->rgCRLEntry[i].SerialNumber.cbData != 0);
        }
        CertFreeCRLContext(list);
    }
    return 0;
}
