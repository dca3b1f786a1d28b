// CPolicyInformation: the identifier of a certificate policy (RFC 5280, 4.2.1.4).
#pragma once

#include <list>

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

struct ASN1T_PolicyInformation_traits;

// Dotted text. Qualifiers aren't held: they are dropped on reading.
class CPolicyInformation : public Encodable<CPolicyInformation, ASN1T_PolicyInformation_traits> {
public:
    CPolicyInformation() : policyIdentifier_("") {}
    explicit CPolicyInformation(const char* oid) : policyIdentifier_(oid) {}

    const char* get_policyIdentifier() const noexcept { return policyIdentifier_.c_str(); }
    void put_policyIdentifier(const char* oid) { policyIdentifier_ = CStringProxy(oid); }

    // The DER. Throws 0x80070057 for a text that is no identifier.
    using Encodable::encode;

private:
    CStringProxy policyIdentifier_;
};

class CPolicyInformationList : public std::list<CPolicyInformation> {
public:
    using std::list<CPolicyInformation>::list;
};

} // namespace Halcyon::ASN1
