// CAccessDescription and CAuthorityInfoAccessSyntax: where information about an authority is found
// (RFC 5280, 4.2.2.1).
#pragma once

#include <list>

#include <chronoseal/asn1/general_name.h>

namespace Halcyon::ASN1 {

// The method is dotted text. It is checked when it is encoded.
class CAccessDescription {
public:
    CAccessDescription() : accessMethod_("") {}
    CAccessDescription(const char* accessMethod, const CGeneralName& accessLocation)
        : accessMethod_(accessMethod), accessLocation_(accessLocation) {}

    const char* get_accessMethod() const noexcept { return accessMethod_.c_str(); }
    const CGeneralName& get_accessLocation() const noexcept { return accessLocation_; }
    void put_accessMethod(const char* accessMethod) { accessMethod_ = CStringProxy(accessMethod); }
    void put_accessLocation(const CGeneralName& accessLocation) {
        accessLocation_ = accessLocation;
    }

    // The DER. Throws 0x80070057 for a method that is no identifier, and as `CGeneralName`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CStringProxy accessMethod_;
    CGeneralName accessLocation_;
};

// Methods byte for byte, locations by the rules of CGeneralName.
bool operator==(const CAccessDescription& a, const CAccessDescription& b) noexcept;
inline bool operator!=(const CAccessDescription& a, const CAccessDescription& b) noexcept {
    return !(a == b);
}

class CAuthorityInfoAccessSyntax : public std::list<CAccessDescription> {
public:
    using std::list<CAccessDescription>::list;

    CBlob encode() const;
    // Replaces the list.
    void decode(const CBlob& der);
};

} // namespace Halcyon::ASN1
