#include <chronoseal/asn1/free_text.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <cwchar>

#include <chronoseal/asn1/free_text_traits.h>
#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1/text_width.h>

namespace Halcyon::ASN1 {

CLanguageTag::CLanguageTag() : tag_("") {}

CLanguageTag::CLanguageTag(const char* tag) : tag_(normalize(tag).c_str()) {}

CLanguageTag::CLanguageTag(const wchar_t* tag)
    : tag_(normalize(ASN1::tostring(tag).c_str()).c_str()) {}

void CLanguageTag::assign(const CLanguageTag& other) {
    tag_ = other.tag_;
}

CStringProxy CLanguageTag::tostring() const {
    return tag_;
}

std::string CLanguageTag::normalize(const char* tag) {
    std::string lower;
    for (; *tag != '\0'; ++tag) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(*tag)));
    }
    return lower;
}

bool operator==(const CLanguageTag& a, const CLanguageTag& b) noexcept {
    return std::strcmp(a.tag_.c_str(), b.tag_.c_str()) == 0;
}

CPKIFreeTextString::CPKIFreeTextString(CLanguageTag language) : value_(L""), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(const wchar_t* value, CLanguageTag language)
    : value_(value), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(const char* value, CLanguageTag language)
    : value_(towstring(value).c_str()), language_(language) {}

void CPKIFreeTextString::assign(const CPKIFreeTextString& other) {
    value_ = other.value_;
    language_.assign(other.language_);
}

void CPKIFreeTextString::set_value(const wchar_t* value) {
    value_ = CWStringProxy(value);
}

bool operator==(const CPKIFreeTextString& a, const CPKIFreeTextString& b) noexcept {
    return a.get_language() == b.get_language() && std::wcscmp(a.get_value(), b.get_value()) == 0;
}

CPKIFreeText::CPKIFreeText(const wchar_t* value, CLanguageTag language) {
    push_back(CPKIFreeTextString(value, language));
}

CPKIFreeText::CPKIFreeText(const CPKIFreeTextString& element) {
    push_back(element);
}

CPKIFreeText::operator CPKIFreeTextString() {
    return static_cast<const CPKIFreeTextString&>(static_cast<const CPKIFreeText&>(*this));
}

CPKIFreeText::operator const CPKIFreeTextString&() const {
    if (empty()) {
        fail_argument();
    }
    return *find(CLanguageTagDefaultRead());
}

CPKIFreeText::const_iterator CPKIFreeText::find(const CLanguageTag& language) const {
    if (language == CLanguageTagDefaultRead()) {
        return begin();
    }
    // The comparison is one of whole elements, so only one without text is found.
    return std::find(begin(), end(), CPKIFreeTextString(language));
}

CPKIFreeText::iterator CPKIFreeText::find(const CLanguageTag& language) {
    const auto found = static_cast<const CPKIFreeText&>(*this).find(language);
    return erase(found, found);
}

void CPKIFreeText::remove(const CLanguageTag& language) {
    const CLanguageTag wanted(language);
    for (auto found = find(wanted); found != end(); found = find(wanted)) {
        erase(found);
    }
}

void CPKIFreeText::insert(const CPKIFreeTextString& element) {
    const auto found =
        element.get_language() == CLanguageTagDefaultRead() ? end() : find(element.get_language());
    if (found == end()) {
        push_back(element);
    } else {
        found->assign(element);
    }
}

namespace {

constexpr std::uint32_t kBadUtf8 = 0x8009310E; // CRYPT_E_ASN1_UTF8

constexpr wchar_t kPrefixStart = 0x0E01;
constexpr wchar_t kPrefixEnd = 0x0E7E;
constexpr wchar_t kPrefixBlock = 0x0E00;

// Only U+0E00 to U+0EFF carry a byte of the tag. A mask of the low 16 bits alone would do where
// wide characters have 16 bits; with 32 it takes U+10E7E for one of them, whose low byte would come
// back as the mark's end when the tag is written again.
bool carries_tag_byte(wchar_t character) {
    return (character & ~wchar_t{0xFF}) == kPrefixBlock && character != kPrefixEnd;
}

std::wstring prefix_of(const CLanguageTag& language) {
    if (language == CLanguageTagDefaultRead()) {
        return {};
    }
    const CStringProxy tag = language.tostring();
    std::wstring prefix(1, kPrefixStart);
    for (const char* byte = tag.c_str(); *byte != '\0'; ++byte) {
        prefix += static_cast<wchar_t>(static_cast<unsigned char>(*byte) | kPrefixBlock);
    }
    return prefix + kPrefixEnd;
}

CLanguageTag language_of(const std::wstring& text) {
    if (text.empty() || text[0] != kPrefixStart) {
        return CLanguageTagDefaultRead();
    }
    std::string tag;
    std::size_t i = 1;
    for (; i < text.size() && carries_tag_byte(text[i]); ++i) {
        tag += static_cast<char>(text[i] & 0xFF);
    }
    if (i == text.size() || text[i] != kPrefixEnd) {
        fail_argument();
    }
    return CLanguageTag(tag.c_str());
}

} // namespace

// PKIFreeText ::= SEQUENCE SIZE (1..MAX) OF UTF8String

void CPKIFreeText_Encode(ASN1CTXT* ctxt, asn1data::ASN1T_PKIFreeText& record,
                         const CPKIFreeText& value) {
    record.n = static_cast<std::uint32_t>(value.size());
    record.elem = nullptr;
    auto* const texts =
        static_cast<const char**>(heap_block(ctxt, value.size() * sizeof(const char*)));
    std::size_t i = 0;
    for (const CPKIFreeTextString& element : value) {
        const std::wstring text = prefix_of(element.get_language()) + element.get_value();
        texts[i] = utf8_from_wide(ctxt, text.c_str());
        if (!texts[i++]) {
            fail_codec();
        }
    }
    record.elem = texts;
}

void CPKIFreeText_Parse(ASN1CTXT* ctxt, CPKIFreeText& value,
                        const asn1data::ASN1T_PKIFreeText& record) {
    for (std::uint32_t i = 0; i < record.n; ++i) {
        const auto text = wide_from_utf8(ctxt, record.elem[i]);
        if (!text) {
            ATL::AtlThrowImpl(hr(kBadUtf8));
        }
        value.push_back(CPKIFreeTextString(text->c_str(), language_of(*text)));
    }
}

} // namespace Halcyon::ASN1
