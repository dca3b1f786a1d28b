#include "asn1/free_text.h"

#include <algorithm>
#include <cwchar>

#include "asn1/failure.h"
#include "asn1/text_width.h"

namespace Halcyon::ASN1 {

CPKIFreeTextString::CPKIFreeTextString(CLanguageTag language) : value_(L""), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(wchar_t const* value, CLanguageTag language)
    : value_(value), language_(language) {}

CPKIFreeTextString::CPKIFreeTextString(char const* value, CLanguageTag language)
    : value_(towstring(value).c_str()), language_(language) {}

void CPKIFreeTextString::assign(CPKIFreeTextString const& other) {
    value_ = other.value_;
    language_.assign(other.language_);
}

void CPKIFreeTextString::set_value(wchar_t const* value) {
    value_ = CWStringProxy(value);
}

bool operator==(CPKIFreeTextString const& a, CPKIFreeTextString const& b) noexcept {
    return a.get_language() == b.get_language() && std::wcscmp(a.get_value(), b.get_value()) == 0;
}

CPKIFreeText::CPKIFreeText(wchar_t const* value, CLanguageTag language) {
    push_back(CPKIFreeTextString(value, language));
}

CPKIFreeText::CPKIFreeText(CPKIFreeTextString const& element) {
    push_back(element);
}

CPKIFreeText::operator CPKIFreeTextString() {
    return static_cast<CPKIFreeTextString const&>(static_cast<CPKIFreeText const&>(*this));
}

CPKIFreeText::operator CPKIFreeTextString const&() const {
    if (empty())
        failArgument();
    return *find(CLanguageTagDefaultRead());
}

CPKIFreeText::const_iterator CPKIFreeText::find(CLanguageTag const& language) const {
    if (language == CLanguageTagDefaultRead())
        return begin();
    // The comparison is one of whole elements, so only one without text is found.
    return std::find(begin(), end(), CPKIFreeTextString(language));
}

CPKIFreeText::iterator CPKIFreeText::find(CLanguageTag const& language) {
    auto const found = static_cast<CPKIFreeText const&>(*this).find(language);
    return erase(found, found);
}

void CPKIFreeText::remove(CLanguageTag const& language) {
    for (auto found = find(language); found != end(); found = find(language))
        erase(found);
}

void CPKIFreeText::insert(CPKIFreeTextString const& element) {
    auto const found =
        element.get_language() == CLanguageTagDefaultRead() ? end() : find(element.get_language());
    if (found == end())
        push_back(element);
    else
        found->assign(element);
}

} // namespace Halcyon::ASN1
