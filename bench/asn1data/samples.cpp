// The samples are signed with one RSA key of 2048 bits, so that their parts have the sizes of real
// ones.
#include "samples.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <openssl/asn1.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace samples {
namespace {

template <class T, void (*release)(T*)>
struct Releaser {
    void operator()(T* object) const { release(object); }
};
template <class T, void (*release)(T*)>
using Owner = std::unique_ptr<T, Releaser<T, release>>;

using Certificate = Owner<X509, X509_free>;

void require(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "samples: %s failed\n", what);
        std::abort();
    }
}

template <class T>
Bytes encoded(T* object, int (*write)(const T*, unsigned char**)) {
    unsigned char* bytes = nullptr;
    const int size = write(object, &bytes);
    require(size > 0, "encoding");
    Bytes result(bytes, bytes + size);
    OPENSSL_free(bytes);
    return result;
}

EVP_PKEY* key() {
    static EVP_PKEY* const made = EVP_RSA_gen(2048);
    require(made != nullptr, "key generation");
    return made;
}

void add_name(X509_NAME* name) {
    const auto add = [name](const char* type, const char* text) {
        require(X509_NAME_add_entry_by_txt(name, type, MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>(text), -1, -1,
                                           0) == 1,
                "name");
    };
    add("C", "RU");
    add("ST", "Some Region");
    add("L", "Some Town");
    add("O", "An Organization with a Name of Usual Length");
    add("OU", "Certification Department");
    add("CN", "A Time-Stamp Authority of 2026");
}

void add_extension(X509* certificate, X509* issuer, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    require(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1, value);
    X509_EXTENSION_free(extension);
}

Certificate make_certificate() {
    Certificate certificate(X509_new());
    X509* x = certificate.get();
    X509_set_version(x, 2);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(x), 0x1122334455667788);
    X509_gmtime_adj(X509_getm_notBefore(x), 0);
    X509_gmtime_adj(X509_getm_notAfter(x), 86400L * 3650);
    add_name(X509_get_subject_name(x));
    add_name(X509_get_issuer_name(x));
    require(X509_set_pubkey(x, key()) == 1, "public key");
    add_extension(x, x, NID_basic_constraints, "critical,CA:FALSE");
    add_extension(x, x, NID_key_usage, "critical,digitalSignature,nonRepudiation");
    add_extension(x, x, NID_ext_key_usage, "critical,timeStamping");
    add_extension(x, x, NID_subject_key_identifier, "hash");
    add_extension(x, x, NID_authority_key_identifier, "keyid,issuer:always");
    add_extension(x, x, NID_subject_alt_name, "URI:http://tsa.example.org/,email:tsa@example.org");
    add_extension(x, x, NID_crl_distribution_points,
                  "URI:http://crl.example.org/authority/list.crl");
    add_extension(
        x, x, NID_info_access,
        "OCSP;URI:http://ocsp.example.org/,caIssuers;URI:http://example.org/authority.cer");
    add_extension(x, x, NID_certificate_policies,
                  "DER:3014300806062A8503647101300806062A8503647102");
    require(X509_sign(x, key(), EVP_sha256()) > 0, "signing");
    return certificate;
}

X509* shared_certificate() {
    static const Certificate made = make_certificate();
    return made.get();
}

void add_entry(X509_CRL* list, ASN1_TIME* date, int number) {
    X509_REVOKED* entry = X509_REVOKED_new();
    ASN1_INTEGER* serial = ASN1_INTEGER_new();
    ASN1_INTEGER_set_uint64(serial, 0x1000000000000000ULL + static_cast<unsigned>(number) * 977ULL);
    X509_REVOKED_set_serialNumber(entry, serial);
    X509_REVOKED_set_revocationDate(entry, date);
    ASN1_ENUMERATED* reason = ASN1_ENUMERATED_new();
    ASN1_ENUMERATED_set(reason, number % 6);
    require(X509_REVOKED_add1_ext_i2d(entry, NID_crl_reason, reason, 0, 0) == 1, "entry extension");
    ASN1_ENUMERATED_free(reason);
    ASN1_INTEGER_free(serial);
    require(X509_CRL_add0_revoked(list, entry) == 1, "entry");
}

} // namespace

const Bytes& certificate() {
    static const Bytes bytes = encoded<X509>(shared_certificate(), i2d_X509);
    return bytes;
}

Bytes certificate_list(int entries) {
    Owner<X509_CRL, X509_CRL_free> list(X509_CRL_new());
    Owner<ASN1_TIME, ASN1_TIME_free> date(X509_gmtime_adj(nullptr, 0));
    X509_CRL_set_version(list.get(), 1);
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(shared_certificate()));
    X509_CRL_set1_lastUpdate(list.get(), date.get());
    X509_CRL_set1_nextUpdate(list.get(), date.get());
    for (int i = 0; i < entries; ++i)
        add_entry(list.get(), date.get(), i);
    require(X509_CRL_sign(list.get(), key(), EVP_sha256()) > 0, "list signing");
    return encoded<X509_CRL>(list.get(), i2d_X509_CRL);
}

const Bytes& signed_message() {
    static const Bytes bytes = [] {
        const Bytes content(1750, 0x55);
        Owner<BIO, BIO_free_all> data(
            BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
        Owner<CMS_ContentInfo, CMS_ContentInfo_free> message(CMS_sign(
            shared_certificate(), key(), nullptr, data.get(), CMS_BINARY | CMS_NOSMIMECAP));
        require(message != nullptr, "message");
        return encoded<CMS_ContentInfo>(message.get(), i2d_CMS_ContentInfo);
    }();
    return bytes;
}

} // namespace samples
