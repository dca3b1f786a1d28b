// Finds the path from a certificate to a trust anchor and verifies its signatures and constraints
// by OpenSSL's verifier. Certificates from stores are candidates, never trusted. Validity in time
// and revocation are not judged here: that depends on the moment that a policy asks about.
#pragma once

#include "basalt20/certificate/x509_cache.h"
#include "basalt20/chain/trust_anchors.h"
#include "basalt20/coding/file_ticks.h"

#include <vector>

namespace basalt {

struct PathElement {
    CertificateReference certificate;
    std::shared_ptr<const X509Entry> x509;
    std::vector<int> errors; // X509_V_ERR numbers, without those of time and revocation

    X509* openssl() const { return x509->certificate.get(); }
};

struct ChainPath {
    std::vector<PathElement> elements; // from the certificate asked about upward; never empty
    bool ends_in_anchor = false;
};

// The best path. Where several certificates could be the issuer, one that is valid at `at` is
// preferred. `additional` may be null. Fault CRYPT_E_ASN1_CORRUPT when OpenSSL can't read `end`
// itself.
ChainPath find_path(PCCERT_CONTEXT end, FileTicks at, HCERTSTORE additional);

} // namespace basalt
