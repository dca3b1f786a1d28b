// CAccessDescription and CAuthorityInfoAccessSyntax: where information about an authority is found
// (RFC 5280, 4.2.2.1).
#pragma once

#include <list>

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/general_name.h>

namespace Halcyon::ASN1 {

struct ASN1T_AccessDescription_traits;
struct ASN1T_AuthorityInfoAccessSyntax_traits;

// The method is dotted text. It is checked when it is encoded.
class CAccessDescription : public Encodable<CAccessDescription, ASN1T_AccessDescription_traits> {
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
    using Encodable::encode;

private:
    CStringProxy accessMethod_;
    CGeneralName accessLocation_;
};

// Methods byte for byte, locations by the rules of CGeneralName.
bool operator==(const CAccessDescription& a, const CAccessDescription& b) noexcept;

class CAuthorityInfoAccessSyntax
    : public std::list<CAccessDescription>,
      public Encodable<CAuthorityInfoAccessSyntax, ASN1T_AuthorityInfoAccessSyntax_traits> {
public:
    using std::list<CAccessDescription>::list;
};

} // namespace Halcyon::ASN1
