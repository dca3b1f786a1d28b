// CAttrContentType: the attribute ContentType (RFC 5652, 11.1).
#pragma once

#include "asn1/attr_value.h"

namespace Halcyon::ASN1 {

// The decoded form, dotted text, beside the encoded one of the base. The type is
// 1.2.840.113549.1.9.3.
class CAttrContentType : public CAttrValue {
public:
    // Throws 0x80070057 for a text that is no identifier.
    explicit CAttrContentType(const char* contentType);
    // Throws 0x80093101 if `der` isn't an OBJECT IDENTIFIER.
    explicit CAttrContentType(const CBlob& der);

    void encode();
    void decode();

    const char* get_contentType() const noexcept { return contentType_.c_str(); }
    // Encodes at once.
    void put_contentType(const char* contentType);

private:
    CStringProxy contentType_;
};

} // namespace Halcyon::ASN1
