// OpenSSL's certificates and public keys, kept in two process-wide caches, by the SHA-256 of the
// certificate's DER and of the SubjectPublicKeyInfo's DER: decoding a key costs OpenSSL more than
// all the rest of reading a token. The caches are bounded by number and by bytes; large
// certificates and keys stay out, and so do certificates that no one has vouched for (keep_x509).
// Any thread may call; the results are shared and must not be changed.
#pragma once

#include <basalt/certificate/certificate_body.h>
#include <basalt/coding/public_key.h>
#include <basalt/crl.h>

#include <openssl/x509.h>

#include <memory>
#include <mutex>
#include <vector>

namespace basalt {

struct X509Deleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};

struct X509Entry;

/// The issuers under whose certificates OpenSSL's verifier has found a certificate's signature
/// good. The two certificates don't change, so neither does that verdict.
class KnownIssuers {
public:
    bool contains(const std::shared_ptr<const X509Entry>& issuer) const;
    void add(const std::shared_ptr<const X509Entry>& issuer);

private:
    mutable std::mutex mutex_;
    std::vector<std::weak_ptr<const X509Entry>> issuers_; // an entry that is gone is no one's match
};

/// `key` is null when OpenSSL doesn't know the kind of key or can't read it.
struct X509Entry {
    std::unique_ptr<X509, X509Deleter> certificate;
    std::shared_ptr<const PublicKey> key;
    mutable KnownIssuers verified_by;
    std::size_t encoded_size = 0;

    // The TBSCertificate as it came, where `certificate` had to be made of mended bytes: OpenSSL
    // reads no serial number with superfluous zeros, which some authorities wrote. Else empty.
    std::vector<BYTE> signed_bytes;
};

/// Whether that key made the certificate's signature.
bool is_signed_with(const X509Entry& entry, EVP_PKEY* key);

Sha256 sha256(Bytes bytes);

/// The prepared certificate for bytes of that digest, a kept one or a new one. Fault
/// CRYPT_E_ASN1_CORRUPT when OpenSSL can't read them whole.
std::shared_ptr<const X509Entry> x509_by_digest(const Sha256& digest, Bytes encoded);

/// Keeps a prepared certificate for x509_by_digest: one of a chain that ended in an anchor.
void keep_x509(const Sha256& digest, const std::shared_ptr<const X509Entry>& entry);

/// The encoded bytes of all certificates that are kept.
std::size_t kept_x509_bytes();

/// The prepared key of a SubjectPublicKeyInfo. Fault NTE_BAD_PUBLIC_KEY when OpenSSL can't read it.
std::shared_ptr<const PublicKey> public_key_of(const CERT_PUBLIC_KEY_INFO& info);

} // namespace basalt
