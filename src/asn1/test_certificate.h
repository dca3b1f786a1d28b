// For tests: certificates and extensions that OpenSSL makes.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <chronoseal/asn1/test_blob.h>

namespace Halcyon::ASN1 {

// A self-signed certificate with the serial number given as hexadecimal digits, CN=Test and C=RU,
// and two extensions.
inline CBlob make_certificate(const char* serial) {
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    X509_set_version(certificate, X509_VERSION_3);
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, serial);
    BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate));
    BN_free(number);
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", V_ASN1_UTF8STRING,
                               reinterpret_cast<const unsigned char*>("Test"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "C", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("RU"), -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
    X509_set_pubkey(certificate, key);
    for (const auto& [nid, value] : {std::pair(NID_key_usage, "critical,digitalSignature"),
                                     std::pair(NID_ext_key_usage, "critical,timeStamping")}) {
        X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
        X509_add_ext(certificate, extension, -1);
        X509_EXTENSION_free(extension);
    }
    X509_sign(certificate, key, EVP_sha256());
    const CBlob der = written_by_openssl(certificate, i2d_X509);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return der;
}

// The encoded value of an extension, which is freed.
inline CBlob extension_value(X509_EXTENSION* extension) {
    const ASN1_OCTET_STRING* const octets = X509_EXTENSION_get_data(extension);
    const CBlob der(ASN1_STRING_get0_data(octets),
                    static_cast<unsigned long>(ASN1_STRING_length(octets)));
    X509_EXTENSION_free(extension);
    return der;
}

} // namespace Halcyon::ASN1
