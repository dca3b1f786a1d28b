#include "asn1/hold_instruction_code.h"

#include "asn1/codec.h"
#include "asn1/object_identifier.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidHoldInstructionCode[] = "2.5.29.23";

} // namespace

CExtHoldInstructionCode::CExtHoldInstructionCode() : CExtValue(oidHoldInstructionCode), code_("") {}

CExtHoldInstructionCode::CExtHoldInstructionCode(const char* code) : CExtHoldInstructionCode() {
    put_code(code);
}

CExtHoldInstructionCode::CExtHoldInstructionCode(const CBlob& der)
    : CExtValue(oidHoldInstructionCode, der), code_("") {
    decode();
}

// HoldInstruction ::= OBJECT IDENTIFIER

void CExtHoldInstructionCode::encode() {
    value() = asn1Encode<ASN1TObjId_traits, const char*>(get_code());
}

void CExtHoldInstructionCode::decode() {
    asn1Decode<ASN1TObjId_traits, CStringProxy>(get_value(), code_);
}

void CExtHoldInstructionCode::put_code(const char* code) {
    code_ = CStringProxy(code);
    encode();
}

} // namespace Halcyon::ASN1
