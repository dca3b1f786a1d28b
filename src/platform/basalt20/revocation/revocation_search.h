// Gathers what is known of one certificate's revocation: first from the stores at hand, then, where
// that doesn't cover the moment, from the sources that the certificate names.
#pragma once

#include "basalt20/revocation/revocation_evidence.h"
#include "basalt20/store/certificate_reference.h"

#include <openssl/x509.h>

#include <vector>

namespace basalt {

class RevocationSearch {
public:
    // `stores` are searched for CRLs and OCSP answers; null ones are passed over. All arguments
    // must outlive the search.
    RevocationSearch(PCCERT_CONTEXT context, X509* certificate, X509* issuer,
                     const std::vector<HCERTSTORE>& stores);

    // Fetches when `may_fetch` and the stores have nothing that covers `at`; never twice.
    const RevocationFindings& findings(FileTicks at, bool may_fetch);

private:
    void search_store(HCERTSTORE store);
    void fetch();

    PCCERT_CONTEXT context_;
    X509* certificate_;
    X509* issuer_;
    RevocationFindings findings_;
    bool fetched_ = false;
};

} // namespace basalt
