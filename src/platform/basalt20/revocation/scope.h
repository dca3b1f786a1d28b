// For which reasons a revocation list speaks of a certificate (RFC 5280, 6.3.3 b, c, d), and under
// which names such lists are issued. Nothing is verified here.
#pragma once

#include <basalt/revocation/crl_facts.h>
#include <basalt/revocation/rule.h>

#include <vector>

namespace basalt {

// The certificate's view: its distribution points, read once.
class CertificateScope {
public:
    explicit CertificateScope(X509* certificate);

    // Empty when the list isn't for the certificate.
    ReasonSet reasons(const CrlFacts& list) const;

    // The certificate's issuer, and the issuers of lists that its points name.
    const std::vector<const X509_NAME*>& list_issuers() const { return list_issuers_; }

    // True when one of its points gives lists of that name to another issuer than the
    // certificate's: the name's owner may then tell of its own certificate, too.
    bool points_to(const X509_NAME* list_issuer) const;

    const CRL_DIST_POINTS* points() const { return points_.get(); }

private:
    bool kind_fits(const CrlFacts& list) const;
    ReasonSet reasons_of_point(const DIST_POINT& point, const CrlFacts& list) const;
    bool is_of_the_issuers_own_point(const CrlFacts& list) const;

    X509* certificate_;
    OpensslOwner<CRL_DIST_POINTS, CRL_DIST_POINTS_free> points_;
    std::vector<const X509_NAME*> list_issuers_;
};

} // namespace basalt
