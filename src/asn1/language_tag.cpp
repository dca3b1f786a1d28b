#include "asn1/language_tag.h"

#include <cctype>
#include <cstring>

#include "asn1/text_width.h"

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
    for (; *tag != '\0'; ++tag)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(*tag)));
    return lower;
}

bool operator==(const CLanguageTag& a, const CLanguageTag& b) noexcept {
    return std::strcmp(a.tag_.c_str(), b.tag_.c_str()) == 0;
}

} // namespace Halcyon::ASN1
