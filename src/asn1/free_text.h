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
    CPKIFreeTextString(wchar_t const* value, CLanguageTag language);
    // Through the system's code page.
    CPKIFreeTextString(char const* value, CLanguageTag language);

    void assign(CPKIFreeTextString const& other);
    wchar_t const* get_value() const noexcept { return value_.c_str(); }
    CLanguageTag const& get_language() const noexcept { return language_; }
    void set_value(wchar_t const* value);

private:
    CWStringProxy value_;
    CLanguageTag language_;
};

// Languages first, then the texts, character for character.
bool operator==(CPKIFreeTextString const& a, CPKIFreeTextString const& b) noexcept;
inline bool operator!=(CPKIFreeTextString const& a, CPKIFreeTextString const& b) noexcept {
    return !(a == b);
}

// The texts in the order of the encoding. A text that was read with a language keeps the characters
// that carry the language in front of it (see free_text_codec.h).
class CPKIFreeText : public std::list<CPKIFreeTextString> {
public:
    using std::list<CPKIFreeTextString>::list;

    CPKIFreeText(wchar_t const* value, CLanguageTag language);
    CPKIFreeText(CPKIFreeTextString const& element);

    // The first element. The list must not be empty: throws 0x80070057 if it is.
    operator CPKIFreeTextString();
    operator CPKIFreeTextString const&() const;

    // For "*" the first element. For any other tag the first element of that language whose text is
    // empty: an element with a text is never found by its language. `end()` if there's none.
    iterator find(CLanguageTag const& language);
    const_iterator find(CLanguageTag const& language) const;
    // Erases what `find` gives until it gives nothing: with "*" everything.
    void remove(CLanguageTag const& language);
    // Replaces what `find` gives for the element's language, or else appends. An element of the
    // language "*" is always appended.
    void insert(CPKIFreeTextString const& element);
    using std::list<CPKIFreeTextString>::insert;
};

} // namespace Halcyon::ASN1
