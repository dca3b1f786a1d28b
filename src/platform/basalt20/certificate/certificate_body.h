// The immutable part of a certificate: its bytes and its fields, shared by all contexts over it,
// and the digests and prepared objects that are made of it on demand.
#pragma once

#include <basalt/certificate.h>
#include <basalt/certificate/signed_record.h>

#include <array>
#include <memory>
#include <mutex>

namespace basalt {

struct X509Entry;

using Sha256 = std::array<BYTE, 32>;

class CertificateBody {
public:
    /// Takes the certificate apart. Faults as CertCreateCertificateContext tells.
    explicit CertificateBody(Bytes encoded);

    Bytes encoded() const { return storage_.encoded(); }
    CERT_INFO& info() const { return info_; }

    /// SHA-256 of the encoded bytes, computed once.
    const Sha256& digest() const;

    /// The prepared OpenSSL object, kept here after the first call; a fault when OpenSSL can't read
    /// it.
    std::shared_ptr<const X509Entry> x509() const;

private:
    void read_tbs(Bytes tbs);
    void read_optional_fields(DerReader& tbs);

    FieldStorage storage_;
    mutable CERT_INFO info_{};
    mutable std::mutex mutex_;
    mutable bool has_digest_ = false;
    mutable Sha256 digest_{};
    mutable std::shared_ptr<const X509Entry> x509_;
};

} // namespace basalt
