#include "asn1/free_text.h"

#include <algorithm>
#include <cwchar>

#include "asn1/failure.h"
#include "asn1/text_width.h"

namespace Halcyon::ASN1 {

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
    if (empty())
        failArgument();
    return *find(CLanguageTagDefaultRead());
}

CPKIFreeText::const_iterator CPKIFreeText::find(const CLanguageTag& language) const {
    if (language == CLanguageTagDefaultRead())
        return begin();
    // The comparison is one of whole elements, so only one without text is found.
    return std::find(begin(), end(), CPKIFreeTextString(language));
}

CPKIFreeText::iterator CPKIFreeText::find(const CLanguageTag& language) {
    const auto found = static_cast<const CPKIFreeText&>(*this).find(language);
    return erase(found, found);
}

void CPKIFreeText::remove(const CLanguageTag& language) {
    for (auto found = find(language); found != end(); found = find(language))
        erase(found);
}

void CPKIFreeText::insert(const CPKIFreeTextString& element) {
    const auto found =
        element.get_language() == CLanguageTagDefaultRead() ? end() : find(element.get_language());
    if (found == end())
        push_back(element);
    else
        found->assign(element);
}

} // namespace Halcyon::ASN1
