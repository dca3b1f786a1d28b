#include "asn1/char_string.h"

#include <cwchar>
#include <string>

#include "asn1/codec.h"
#include "asn1/ctxt_handle.h"
#include "asn1/heap_copy.h"
#include "asn1/text_width.h"
#include "asn1/utf8_text.h"
#include "asn1rt/character_text.h"

namespace Halcyon::ASN1 {

namespace {

enum StringTag : std::uint32_t {
    tagUTF8String = 12,
    tagNumericString = 18,
    tagPrintableString = 19,
    tagTeletexString = 20,
    tagIA5String = 22,
    tagUniversalString = 28,
    tagBMPString = 30,
};

int encodeUTF8(ASN1CTXT* ctxt, const wchar_t* text) {
    const char* const utf8 = utf8FromWide(ctxt, text);
    if (!utf8)
        failCodec();
    return xe_charstr(ctxt, utf8, 1, tagUTF8String);
}

int encodeBMP(ASN1CTXT* ctxt, const wchar_t* text) {
    const std::size_t length = std::wcslen(text);
    auto* const units =
        static_cast<std::uint16_t*>(heapBlock(ctxt, length * sizeof(std::uint16_t)));
    for (std::size_t i = 0; i < length; ++i)
        units[i] = static_cast<std::uint16_t>(text[i]);
    const ASN1TBMPText string{static_cast<std::uint32_t>(length), units};
    return xe_16BitCharStr(ctxt, &string, 1, tagBMPString);
}

int encodeUniversal(ASN1CTXT* ctxt, const wchar_t* text) {
    ASN1TUniversalText string{};
    if (!rtWCSToUCSString(ctxt, text, &string, nullptr))
        failCodec();
    return xe_32BitCharStr(ctxt, &string, 1, tagUniversalString);
}

int encodeText(ASN1CTXT* ctxt, const wchar_t* text, StringType type) {
    switch (type) {
    case stringTypeUTF8:
        return encodeUTF8(ctxt, text);
    case stringTypePrintable:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, tagPrintableString);
    case stringTypeTeletex:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, tagTeletexString);
    case stringTypeBMP:
        return encodeBMP(ctxt, text);
    case stringTypeIA5:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, tagIA5String);
    case stringTypeUniversal:
        return encodeUniversal(ctxt, text);
    default:
        failCodec();
    }
}

const char* decodeNarrow(ASN1CTXT* ctxt, int length) {
    const char* text = nullptr;
    if (xd_charstr(ctxt, &text, 0, 0, length) != 0 || !text)
        failCodec();
    return text;
}

std::wstring decodeUTF8(ASN1CTXT* ctxt, int length) {
    const auto wide = wideFromUtf8(ctxt, decodeNarrow(ctxt, length));
    if (!wide)
        failCodec();
    return *wide;
}

std::wstring decodeUniversal(ASN1CTXT* ctxt, int length) {
    ASN1TUniversalText string{};
    if (xd_32BitCharStr(ctxt, &string, 0, 0, length) != 0)
        failCodec();
    std::wstring wide(std::size_t{string.nchars} + 1, L'\0');
    rtUCSToWCSString(&string, wide.data(), wide.size());
    return wide;
}

std::wstring decodeBMP(ASN1CTXT* ctxt, int length) {
    ASN1TBMPText string{};
    if (xd_16BitCharStr(ctxt, &string, 0, 0, length) != 0)
        failCodec();
    return std::wstring(string.data, string.data + string.nchars);
}

std::wstring decodeText(ASN1CTXT* ctxt, std::uint32_t tag, int length) {
    switch (tag) {
    case tagUTF8String:
        return decodeUTF8(ctxt, length);
    case tagNumericString:
    case tagPrintableString:
    case tagTeletexString:
    case tagIA5String:
        return towstring(decodeNarrow(ctxt, length));
    case tagUniversalString:
        return decodeUniversal(ctxt, length);
    case tagBMPString:
        return decodeBMP(ctxt, length);
    default:
        failCodec();
    }
}

} // namespace

CBlob encodeCharString(const wchar_t* text, StringType type) {
    ctxt_handle context;
    if (!context.init())
        failMemory();
    if (xe_setp(context.get(), nullptr, 0) != 0)
        failCodec();
    const int length = encodeText(context.get(), text, type);
    if (length < 0)
        failCodec();
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CWStringProxy decodeCharString(const CBlob& der) {
    const int size = messageLength(der);
    ctxt_handle context;
    if (!context.init())
        failMemory();
    std::uint32_t tag = 0;
    int length = 0;
    if (size == 0 || xd_setp(context.get(), der.pbData(), size, nullptr, nullptr) != 0 ||
        xd_tag_len(context.get(), &tag, &length, xdAdvance) != 0)
        failCodec();
    return CWStringProxy(decodeText(context.get(), tag, length).c_str());
}

} // namespace Halcyon::ASN1
