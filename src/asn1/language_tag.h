// CLanguageTag: the language of a text, as a tag in the way of RFC 5646.
#pragma once

#include <string>

#include "base/string_proxy.h"

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
    friend bool operator!=(const CLanguageTag& a, const CLanguageTag& b) noexcept {
        return !(a == b);
    }

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

} // namespace Halcyon::ASN1
