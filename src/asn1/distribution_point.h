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
    CDistributionPoint(const CDistributionPoint& other);
    CDistributionPoint& operator=(const CDistributionPoint& other);
    ~CDistributionPoint();
    // Makes all fields absent.
    void clear() noexcept;

    // Null if absent.
    const CDistributionPointName* get_distributionPoint() const noexcept;
    const CReasonFlags* get_reasons() const noexcept;
    const CGeneralNames* get_cRLIssuer() const noexcept;
    // Null makes the field absent.
    void put_distributionPoint(const CDistributionPointName* name);
    void put_reasons(const CReasonFlags* reasons);
    void put_cRLIssuer(const CGeneralNames* issuer);

    // The DER. Throws as `CDistributionPointName`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<CDistributionPointImpl> impl_;
};

// Issuers, then names, then reasons.
bool operator==(const CDistributionPoint& a, const CDistributionPoint& b) noexcept;
inline bool operator!=(const CDistributionPoint& a, const CDistributionPoint& b) noexcept {
    return !(a == b);
}

class CCRLDistPointsSyntax : public std::list<CDistributionPoint> {
public:
    using std::list<CDistributionPoint>::list;

    CBlob encode() const;
    // Replaces the list.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
