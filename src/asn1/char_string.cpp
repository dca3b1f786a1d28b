#include <chronoseal/asn1/char_string.h>

#include <cwchar>
#include <string>

#include <chronoseal/asn1/codec.h>
#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1/text_width.h>
#include <chronoseal/asn1rt/character_text.h>

namespace Halcyon::ASN1 {

namespace {

enum StringTag : std::uint32_t {
    kTagUTF8String = 12,
    kTagNumericString = 18,
    kTagPrintableString = 19,
    kTagTeletexString = 20,
    kTagIA5String = 22,
    kTagUniversalString = 28,
    kTagBMPString = 30,
};

int encode_utf8(ASN1CTXT* ctxt, const wchar_t* text) {
    const char* const utf8 = utf8_from_wide(ctxt, text);
    if (!utf8) {
        fail_codec();
    }
    return xe_charstr(ctxt, utf8, 1, kTagUTF8String);
}

int encode_bmp(ASN1CTXT* ctxt, const wchar_t* text) {
    const std::size_t length = std::wcslen(text);
    auto* const units =
        static_cast<std::uint16_t*>(heap_block(ctxt, length * sizeof(std::uint16_t)));
    for (std::size_t i = 0; i < length; ++i) {
        units[i] = static_cast<std::uint16_t>(text[i]);
    }
    const ASN1TBMPText string{static_cast<std::uint32_t>(length), units};
    return xe_16BitCharStr(ctxt, &string, 1, kTagBMPString);
}

int encode_universal(ASN1CTXT* ctxt, const wchar_t* text) {
    ASN1TUniversalText string{};
    if (!rtWCSToUCSString(ctxt, text, &string, nullptr)) {
        fail_codec();
    }
    return xe_32BitCharStr(ctxt, &string, 1, kTagUniversalString);
}

int encode_text(ASN1CTXT* ctxt, const wchar_t* text, StringType type) {
    switch (type) {
    case stringTypeUTF8:
        return encode_utf8(ctxt, text);
    case stringTypePrintable:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, kTagPrintableString);
    case stringTypeTeletex:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, kTagTeletexString);
    case stringTypeBMP:
        return encode_bmp(ctxt, text);
    case stringTypeIA5:
        return xe_charstr(ctxt, tostring(text).c_str(), 1, kTagIA5String);
    case stringTypeUniversal:
        return encode_universal(ctxt, text);
    default:
        fail_codec();
    }
}

const char* decode_narrow(ASN1CTXT* ctxt, int length) {
    const char* text = nullptr;
    if (xd_charstr(ctxt, &text, 0, 0, length) != 0 || !text) {
        fail_codec();
    }
    return text;
}

std::wstring decode_utf8(ASN1CTXT* ctxt, int length) {
    const auto wide = wide_from_utf8(ctxt, decode_narrow(ctxt, length));
    if (!wide) {
        fail_codec();
    }
    return *wide;
}

std::wstring decode_universal(ASN1CTXT* ctxt, int length) {
    ASN1TUniversalText string{};
    if (xd_32BitCharStr(ctxt, &string, 0, 0, length) != 0) {
        fail_codec();
    }
    std::wstring wide(std::size_t{string.nchars} + 1, L'\0');
    rtUCSToWCSString(&string, wide.data(), wide.size());
    return wide;
}

std::wstring decode_bmp(ASN1CTXT* ctxt, int length) {
    ASN1TBMPText string{};
    if (xd_16BitCharStr(ctxt, &string, 0, 0, length) != 0) {
        fail_codec();
    }
    return std::wstring(string.data, string.data + string.nchars);
}

std::wstring decode_text(ASN1CTXT* ctxt, std::uint32_t tag, int length) {
    switch (tag) {
    case kTagUTF8String:
        return decode_utf8(ctxt, length);
    case kTagNumericString:
    case kTagPrintableString:
    case kTagTeletexString:
    case kTagIA5String:
        return towstring(decode_narrow(ctxt, length));
    case kTagUniversalString:
        return decode_universal(ctxt, length);
    case kTagBMPString:
        return decode_bmp(ctxt, length);
    default:
        fail_codec();
    }
}

} // namespace

CBlob encodeCharString(const wchar_t* text, StringType type) {
    ctxt_handle context;
    if (!context.init()) {
        fail_memory();
    }
    if (xe_setp(context.get(), nullptr, 0) != 0) {
        fail_codec();
    }
    const int length = encode_text(context.get(), text, type);
    if (length < 0) {
        fail_codec();
    }
    return CBlob(xe_getp(context.get()), static_cast<unsigned long>(length));
}

CWStringProxy decodeCharString(const CBlob& der) {
    const int size = message_length(der);
    ctxt_handle context;
    if (!context.init()) {
        fail_memory();
    }
    std::uint32_t tag = 0;
    int length = 0;
    if (size == 0 || xd_setp(context.get(), der.pbData(), size, nullptr, nullptr) != 0 ||
        xd_tag_len(context.get(), &tag, &length, xdAdvance) != 0) {
        fail_codec();
    }
    return CWStringProxy(decode_text(context.get(), tag, length).c_str());
}

} // namespace Halcyon::ASN1
