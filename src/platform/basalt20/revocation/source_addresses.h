// The sources of revocation that a certificate names.
#pragma once

#include <basalt/revocation/scope.h>

#include <string>
#include <vector>

namespace basalt {

struct SourceAddresses {
    std::vector<std::string> ocsp; // fetchable ones only
    std::vector<std::string> crl;  // of distribution points, then of the freshest lists
    bool any_named = false;        // also when none of them can be fetched here (LDAP)
    bool left_out = false;         // there are more
};

// From authorityInfoAccess, cRLDistributionPoints and freshestCRL (RFC 5280, 4.2.2.1, 4.2.1.13,
// 4.2.1.15), each address once, at most `most` together; lists keep half of the places where both
// kinds are named.
SourceAddresses source_addresses(X509* certificate, const CertificateScope& scope, unsigned most);

} // namespace basalt
