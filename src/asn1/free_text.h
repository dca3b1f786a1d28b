// CPKIFreeText: the PKIFreeText of RFC 3161 and RFC 4210, a list of texts with their languages.
#pragma once

#include <list>

#include "asn1/language_tag.h"
#include "base/string_proxy.h"

namespace Halcyon::ASN1 {

// One text with its language. A plain value.
class CPKIFreeTextString {
public:
    explicit CPKIFreeTextString(CLanguageTag language);
    CPKIFreeTextString(const wchar_t* value, CLanguageTag language);
    // Through the system's code page.
    CPKIFreeTextString(const char* value, CLanguageTag language);

    void assign(const CPKIFreeTextString& other);
    const wchar_t* get_value() const noexcept { return value_.c_str(); }
    const CLanguageTag& get_language() const noexcept { return language_; }
    void set_value(const wchar_t* value);

private:
    CWStringProxy value_;
    CLanguageTag language_;
};

// Languages first, then the texts, character for character.
bool operator==(const CPKIFreeTextString& a, const CPKIFreeTextString& b) noexcept;
inline bool operator!=(const CPKIFreeTextString& a, const CPKIFreeTextString& b) noexcept {
    return !(a == b);
}

// The texts in the order of the encoding. A text that was read with a language keeps the characters
// that carry the language in front of it (see free_text_codec.h).
class CPKIFreeText : public std::list<CPKIFreeTextString> {
public:
    using std::list<CPKIFreeTextString>::list;

    CPKIFreeText(const wchar_t* value, CLanguageTag language);
    CPKIFreeText(const CPKIFreeTextString& element);

    // The first element. The list must not be empty: throws 0x80070057 if it is.
    operator CPKIFreeTextString();
    operator const CPKIFreeTextString&() const;

    // For "*" the first element. For any other tag the first element of that language whose text is
    // empty: an element with a text is never found by its language. `end()` if there's none.
    iterator find(const CLanguageTag& language);
    const_iterator find(const CLanguageTag& language) const;
    // Erases what `find` gives until it gives nothing: with "*" everything.
    void remove(const CLanguageTag& language);
    // Replaces what `find` gives for the element's language, or else appends. An element of the
    // language "*" is always appended.
    void insert(const CPKIFreeTextString& element);
    using std::list<CPKIFreeTextString>::insert;
};

} // namespace Halcyon::ASN1
