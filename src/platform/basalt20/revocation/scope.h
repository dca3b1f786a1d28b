// For which reasons a revocation list speaks of a certificate (RFC 5280, 6.3.3 b, c, d), and under
// which names such lists are issued. Nothing is verified here.
#pragma once

#include <basalt/revocation/crl_facts.h>
#include <basalt/revocation/point_names.h>
#include <basalt/revocation/rule.h>

#include <vector>

namespace basalt {

// The certificate's view: its distribution points, read once.
class CertificateScope {
public:
    // More nobody honest writes into a certificate: one for each set of reasons would be eight.
    static constexpr int kMostPoints = 32;

    explicit CertificateScope(X509* certificate);

    // False when there are more points, or names in one, than were read: there may be lists for the
    // certificate that aren't known for it.
    bool complete() const { return complete_; }

    // Empty when the list isn't for the certificate. Nothing when that can't be told, since the
    // list has more names than are read.
    std::optional<ReasonSet> reasons(const CrlFacts& list) const;

    // What reasons() takes at most, in the budget's comparisons.
    std::size_t comparisons_with(const CrlFacts& list) const;

    // The certificate's issuer, and the issuers of lists that its points name: each once.
    const std::vector<const X509_NAME*>& list_issuers() const { return list_issuers_; }

    // True when one of its points gives lists of that name to another issuer than the
    // certificate's: the name's owner may then tell of its own certificate, too.
    bool points_to(const X509_NAME* list_issuer) const;

    const CRL_DIST_POINTS* points() const { return decoded_.get(); }

private:
    struct Point {
        bool is_named = false;
        PointNames names;
        bool has_issuers = false;
        PointNames issuers;
        ReasonSet reasons = kAllReasons;
    };

    Point read(const DIST_POINT& point) const;
    void gather_list_issuers();
    bool kind_fits(const CrlFacts& list) const;
    bool is_by(const Point& point, const CrlFacts& list) const;
    bool has_name_of(const Point& point, const CrlFacts& list) const;
    bool is_of_the_issuers_own_point(const CrlFacts& list) const;

    X509* certificate_;
    OpensslOwner<CRL_DIST_POINTS, CRL_DIST_POINTS_free> decoded_;
    std::vector<Point> points_;
    bool complete_ = true;
    std::vector<const X509_NAME*> list_issuers_;
};

} // namespace basalt
