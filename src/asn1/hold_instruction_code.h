// CExtHoldInstructionCode: the CRL entry extension holdInstructionCode (RFC 3280, 5.3.2).
#pragma once

#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

// The code, dotted text, beside the encoded form of the base. The type is 2.5.29.23.
class CExtHoldInstructionCode : public CExtValue {
public:
    // No code and no encoded form.
    CExtHoldInstructionCode();
    // Throws 0x80070057 for a text that is no identifier.
    explicit CExtHoldInstructionCode(const char* code);
    // Throws 0x80093101 if `der` isn't an OBJECT IDENTIFIER.
    explicit CExtHoldInstructionCode(const CBlob& der);

    void encode();
    void decode();

    const char* get_code() const noexcept { return code_.c_str(); }
    // Encodes at once.
    void put_code(const char* code);

private:
    CStringProxy code_;
};

} // namespace Halcyon::ASN1
