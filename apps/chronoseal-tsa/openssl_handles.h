// Owning pointers over OpenSSL's objects, and the one exception by which this program reports that
// a call into OpenSSL failed.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

namespace tsa {

template <auto Free>
struct Releaser {
    template <typename T>
    void operator()(T* object) const noexcept {
        Free(object);
    }
};

using BioPtr = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Releaser<X509_free>>;
using CrlPtr = std::unique_ptr<X509_CRL, Releaser<X509_CRL_free>>;
using Pkcs7Ptr = std::unique_ptr<PKCS7, Releaser<PKCS7_free>>;
using ObjectPtr = std::unique_ptr<ASN1_OBJECT, Releaser<ASN1_OBJECT_free>>;
using ResponseContextPtr = std::unique_ptr<TS_RESP_CTX, Releaser<TS_RESP_CTX_free>>;
using ResponsePtr = std::unique_ptr<TS_RESP, Releaser<TS_RESP_free>>;

class OpenSslError : public std::runtime_error {
public:
    explicit OpenSslError(const std::string& what);
};

// Throws OpenSslError with `what` and OpenSSL's own reason unless `good`.
void require(bool good, const char* what);

template <typename Pointer>
Pointer require_made(Pointer pointer, const char* what) {
    require(pointer != nullptr, what);
    return pointer;
}

} // namespace tsa
