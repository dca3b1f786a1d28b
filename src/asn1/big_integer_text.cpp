#include "asn1/big_integer_text.h"

#include <cstring>
#include <limits>
#include <string>

#include "asn1/failure.h"

namespace Halcyon::ASN1 {

namespace {

// The text form on the context's heap, or null without memory.
const char* textOnHeap(ASN1CTXT* ctxt, const CBigInteger& value) {
    CBlob text;
    BigIntegerToString(value, text);
    if (text.cbData() > static_cast<unsigned long>(std::numeric_limits<std::int32_t>::max()))
        return nullptr;
    void* block = rtMemHeapAlloc(&ctxt->typeHeap, static_cast<std::int32_t>(text.cbData()));
    return block ? static_cast<char*>(std::memcpy(block, text.pbData(), text.cbData())) : nullptr;
}

} // namespace

void StringToBigInteger(const char* text, CBigInteger& result) {
    const std::size_t length = text ? std::strlen(text) : 0;
    if (length < 3 || text[0] != '0' || text[1] != 'x')
        failCodec();
    if (length % 2 != 0 && text[2] == '0')
        result.readFromHexString(("0" + std::string(text + 2)).c_str());
    else
        result.readFromHexString(text + 2);
}

void ASN1StringToBigInteger(const char* text, CBigInteger& result) {
    StringToBigInteger(text, result);
}

void BigIntegerToString(const CBigInteger& value, CBlob& text) {
    static constexpr char digits[] = "0123456789ABCDEF";
    text.resize_to(2 * value.cbData() + 3);
    unsigned char* out = text.pbData();
    *out++ = '0';
    *out++ = 'x';
    for (unsigned long i = 0; i < value.cbData(); ++i) {
        *out++ = static_cast<unsigned char>(digits[value.pbData()[i] >> 4]);
        *out++ = static_cast<unsigned char>(digits[value.pbData()[i] & 15]);
    }
    *out = 0;
}

const char* BigIntegerToASN1String(ASN1CTXT* ctxt, const CBigInteger& value) {
    const char* text = textOnHeap(ctxt, value);
    if (!text)
        failMemory();
    return text;
}

const char* DWORDToASN1BigInteger(ASN1CTXT* ctxt, unsigned int value) {
    CBigInteger bytes(4);
    for (unsigned long i = 0; i < 4; ++i)
        bytes.pbData()[i] = static_cast<unsigned char>(value >> (24 - 8 * i));
    const char* text = textOnHeap(ctxt, bytes);
    if (!text)
        ATL::AtlThrowImpl(hr(E_OUTOFMEMORY));
    return text;
}

unsigned int ASN1BigIntegerToDWORD(const char* text) {
    CBigInteger bytes;
    StringToBigInteger(text, bytes);
    if (bytes.cbData() > 4)
        failArgument();
    // 11 and not 256: existing callers know the numbers that come out of it.
    unsigned int result = 0;
    for (unsigned long i = 0; i < bytes.cbData(); ++i)
        result = result * 11 + bytes.pbData()[i];
    return result;
}

} // namespace Halcyon::ASN1
