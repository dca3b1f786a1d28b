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
    explicit CDistributionPointName(CGeneralNames const& fullName);
    CDistributionPointName(CDistributionPointName const& other);
    CDistributionPointName& operator=(CDistributionPointName const& other);
    ~CDistributionPointName();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;
    // Null for another kind.
    CGeneralNames const* get_fullName() const noexcept;
    void put_fullName(CGeneralNames const& fullName);

    // The DER. Throws 0x80093101, for kind 0 too, and as `CGeneralName`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<CDistributionPointNameImpl> impl_;
};

bool operator==(CDistributionPointName const& a, CDistributionPointName const& b) noexcept;
inline bool operator!=(CDistributionPointName const& a, CDistributionPointName const& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
