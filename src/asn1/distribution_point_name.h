// CDistributionPointName: the CHOICE of a distribution point's name (RFC 5280, 4.2.1.13).
#pragma once

#include <memory>

#include "asn1/general_names.h"

namespace Halcyon::ASN1 {

class CDistributionPointNameImpl;

// Kind 0 is nothing, 1 fullName. A nameRelativeToCRLIssuer isn't held: it leaves a decoded object
// as it was.
class CDistributionPointName {
public:
    CDistributionPointName();
    explicit CDistributionPointName(const CGeneralNames& fullName);
    CDistributionPointName(const CDistributionPointName& other);
    CDistributionPointName& operator=(const CDistributionPointName& other);
    ~CDistributionPointName();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;
    // Null for another kind.
    const CGeneralNames* get_fullName() const noexcept;
    void put_fullName(const CGeneralNames& fullName);

    // The DER. Throws 0x80093101, for kind 0 too, and as `CGeneralName`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<CDistributionPointNameImpl> impl_;
};

bool operator==(const CDistributionPointName& a, const CDistributionPointName& b) noexcept;
inline bool operator!=(const CDistributionPointName& a, const CDistributionPointName& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
