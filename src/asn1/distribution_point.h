// CDistributionPoint and CCRLDistPointsSyntax: where CRLs are found (RFC 5280, 4.2.1.13).
#pragma once

#include <list>
#include <memory>

#include "asn1/distribution_point_name.h"
#include "asn1/general_names.h"
#include "asn1/reason_flags.h"

namespace Halcyon::ASN1 {

struct CDistributionPointImpl;

// All three fields are optional. An empty list of issuers isn't encoded.
class CDistributionPoint {
public:
    CDistributionPoint();
    CDistributionPoint(CDistributionPoint const& other);
    CDistributionPoint& operator=(CDistributionPoint const& other);
    ~CDistributionPoint();
    // Makes all fields absent.
    void clear() noexcept;

    // Null if absent.
    CDistributionPointName const* get_distributionPoint() const noexcept;
    CReasonFlags const* get_reasons() const noexcept;
    CGeneralNames const* get_cRLIssuer() const noexcept;
    // Null makes the field absent.
    void put_distributionPoint(CDistributionPointName const* name);
    void put_reasons(CReasonFlags const* reasons);
    void put_cRLIssuer(CGeneralNames const* issuer);

    // The DER. Throws as `CDistributionPointName`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<CDistributionPointImpl> impl_;
};

// Issuers, then names, then reasons.
bool operator==(CDistributionPoint const& a, CDistributionPoint const& b) noexcept;
inline bool operator!=(CDistributionPoint const& a, CDistributionPoint const& b) noexcept {
    return !(a == b);
}

class CCRLDistPointsSyntax : public std::list<CDistributionPoint> {
public:
    using std::list<CDistributionPoint>::list;

    CBlob encode() const;
    // Replaces the list.
    void decode(CBlob const& der);
};

} // namespace Halcyon::ASN1
