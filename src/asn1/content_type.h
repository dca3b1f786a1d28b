// CAttrContentType: the attribute ContentType (RFC 5652, 11.1).
#pragma once

#include "asn1/attr_value.h"

namespace Halcyon::ASN1 {

// The decoded form, dotted text, beside the encoded one of the base. The type is
// 1.2.840.113549.1.9.3.
class CAttrContentType : public CAttrValue {
public:
    // Throws 0x80070057 for a text that is no identifier.
    explicit CAttrContentType(char const* contentType);
    // Throws 0x80093101 if `der` isn't an OBJECT IDENTIFIER.
    explicit CAttrContentType(CBlob const& der);

    void encode();
    void decode();

    char const* get_contentType() const noexcept { return contentType_.c_str(); }
    // Encodes at once.
    void put_contentType(char const* contentType);

private:
    CStringProxy contentType_;
};

} // namespace Halcyon::ASN1
