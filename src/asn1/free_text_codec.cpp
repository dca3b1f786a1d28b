#include "asn1/free_text_codec.h"

#include <string>

#include "asn1/heap_copy.h"
#include "asn1/utf8_text.h"

namespace Halcyon::ASN1 {

namespace {

constexpr wchar_t prefixStart = 0x0E01;
constexpr wchar_t prefixEnd = 0x0E7E;
constexpr wchar_t prefixBlock = 0x0E00;

constexpr std::uint32_t badUtf8 = 0x8009310E; // CRYPT_E_ASN1_UTF8

std::wstring prefixOf(const CLanguageTag& language) {
    if (language == CLanguageTagDefaultRead())
        return {};
    const CStringProxy tag = language.tostring();
    std::wstring prefix(1, prefixStart);
    for (const char* byte = tag.c_str(); *byte != '\0'; ++byte)
        prefix += static_cast<wchar_t>(static_cast<unsigned char>(*byte) | prefixBlock);
    return prefix + prefixEnd;
}

CLanguageTag languageOf(const std::wstring& text) {
    if (text.empty() || text[0] != prefixStart)
        return CLanguageTagDefaultRead();
    std::string tag;
    std::size_t i = 1;
    for (; i < text.size() && (text[i] & 0xFF00) == prefixBlock && text[i] != prefixEnd; ++i)
        tag += static_cast<char>(text[i] & 0xFF);
    if (i == text.size() || text[i] != prefixEnd)
        failArgument();
    return CLanguageTag(tag.c_str());
}

} // namespace

// PKIFreeText ::= SEQUENCE SIZE (1..MAX) OF UTF8String

void CPKIFreeText_Encode(ASN1CTXT* ctxt, asn1data::ASN1T_PKIFreeText& record,
                         const CPKIFreeText& value) {
    record.n = static_cast<std::uint32_t>(value.size());
    record.elem = nullptr;
    auto* const texts =
        static_cast<const char**>(heapBlock(ctxt, value.size() * sizeof(const char*)));
    std::size_t i = 0;
    for (const CPKIFreeTextString& element : value) {
        const std::wstring text = prefixOf(element.get_language()) + element.get_value();
        texts[i] = utf8FromWide(ctxt, text.c_str());
        if (!texts[i++])
            failCodec();
    }
    record.elem = texts;
}

void CPKIFreeText_Parse(ASN1CTXT* ctxt, CPKIFreeText& value,
                        const asn1data::ASN1T_PKIFreeText& record) {
    for (std::uint32_t i = 0; i < record.n; ++i) {
        const auto text = wideFromUtf8(ctxt, record.elem[i]);
        if (!text)
            ATL::AtlThrowImpl(hr(badUtf8));
        value.push_back(CPKIFreeTextString(text->c_str(), languageOf(*text)));
    }
}

} // namespace Halcyon::ASN1
