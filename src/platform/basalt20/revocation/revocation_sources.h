// The sources of revocation that a certificate names, and the fetching of what lies there.
#pragma once

#include <openssl/x509.h>

#include <optional>
#include <string>
#include <vector>

#include "basalt20/coding/der_reader.h"

namespace basalt {

struct RevocationSources {
    std::vector<std::string> ocsp; // http and https addresses only
    std::vector<std::string> crl;
    bool any_named = false; // also when none of them can be fetched here (LDAP)
};

// From authorityInfoAccess and cRLDistributionPoints (RFC 5280, 4.2.2.1 and 4.2.1.13).
RevocationSources revocation_sources(X509* certificate);

// GET of a CRL. `fresh` judges bytes from the cache on disk: only what it accepts spares the
// network. Nothing when it can't be had.
using Freshness = bool (*)(Bytes bytes);
std::optional<std::vector<BYTE>> fetch_crl(const std::string& url, Freshness fresh);

// POST of an OCSP request (RFC 6960, A.1).
std::optional<std::vector<BYTE>> fetch_ocsp(const std::string& url, Bytes request, Freshness fresh);

} // namespace basalt
