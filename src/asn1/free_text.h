// CPKIFreeText: the PKIFreeText of RFC 3161 and RFC 4210, a list of texts with their languages
// (CLanguageTag, a tag in the way of RFC 5646).
#pragma once

#include <list>
#include <string>

#include <chronoseal/base/string_proxy.h>

namespace Halcyon::ASN1 {

// Held in lower case, byte by byte. The tag "*" stands for no language on the wire, and for any on
// reading.
class CLanguageTag {
public:
    CLanguageTag();
    CLanguageTag(const char* tag);
    // Through the system's code page.
    CLanguageTag(const wchar_t* tag);

    void assign(const CLanguageTag& other);
    CStringProxy tostring() const;
    static std::string normalize(const char* tag);

    friend bool operator==(const CLanguageTag& a, const CLanguageTag& b) noexcept;

private:
    CStringProxy tag_;
};

class CLanguageTagRuRu : public CLanguageTag {
public:
    CLanguageTagRuRu() : CLanguageTag("ru-ru") {}
};

class CLanguageTagEnUs : public CLanguageTag {
public:
    CLanguageTagEnUs() : CLanguageTag("en-us") {}
};

class CLanguageTagDefaultRead : public CLanguageTag {
public:
    CLanguageTagDefaultRead() : CLanguageTag("*") {}
};

// One text with its language. A plain value.
class CPKIFreeTextString {
public:
    explicit CPKIFreeTextString(CLanguageTag language = CLanguageTag());
    CPKIFreeTextString(const wchar_t* value, CLanguageTag language);
    // Through the system's code page.
    CPKIFreeTextString(const char* value, CLanguageTag language);
    // No moves beside them: an assignment from a whole list would have two ways to go.
    CPKIFreeTextString(const CPKIFreeTextString& other) = default;
    CPKIFreeTextString& operator=(const CPKIFreeTextString& other) = default;

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

// The texts in the order of the encoding. A text that was read with a language keeps the characters
// that carry the language in front of it (see free_text_traits.h).
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
    // Erases what `find` gives until it gives nothing: with "*" everything. `language` may be that
    // of an element of the list.
    void remove(const CLanguageTag& language);
    // Replaces what `find` gives for the element's language, or else appends. An element of the
    // language "*" is always appended.
    void insert(const CPKIFreeTextString& element);
    using std::list<CPKIFreeTextString>::insert;
};

} // namespace Halcyon::ASN1
