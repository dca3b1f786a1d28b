// The immutable part of a CRL: its bytes, its fields, and OpenSSL's object, made on demand.
#pragma once

#include <basalt/certificate/signed_record.h>
#include <basalt/crl.h>

#include <openssl/x509.h>

#include <memory>
#include <mutex>

namespace basalt {

class CrlBody {
public:
    explicit CrlBody(Bytes encoded);

    Bytes encoded() const { return storage_.encoded(); }
    CRL_INFO& info() const { return info_; }

    /// Made by the first call and kept; CRYPT_E_ASN1_CORRUPT when OpenSSL can't read the list.
    X509_CRL* x509_crl() const;

private:
    void read_tbs(Bytes tbs);
    void read_entries(Bytes list);

    struct Deleter {
        void operator()(X509_CRL* list) const { X509_CRL_free(list); }
    };

    FieldStorage storage_;
    std::vector<CRL_ENTRY> entries_;
    mutable CRL_INFO info_{};
    mutable std::mutex mutex_;
    mutable std::unique_ptr<X509_CRL, Deleter> x509_crl_;
};

} // namespace basalt
