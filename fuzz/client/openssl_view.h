// How OpenSSL sees what was read here: object identifiers as text, and the reasons for which its
// readers refuse what is taken here.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>

#include <openssl/asn1err.h>
#include <openssl/err.h>
#include <openssl/objects.h>

namespace fuzzing {

inline std::string text_of(const ASN1_OBJECT* object) {
    const int size = OBJ_obj2txt(nullptr, 0, object, 1);
    std::string text(static_cast<std::size_t>(std::max(size, 0)) + 1, '\0');
    OBJ_obj2txt(text.data(), static_cast<int>(text.size()), object, 1);
    text.pop_back();
    return text;
}

// Whether the text is that of the object. Arcs beyond 32 bits lose their high bits here: objects
// with such arcs aren't compared.
inline bool is_same(const std::string& text, const ASN1_OBJECT* object) {
    const std::string theirs = text_of(object);
    std::istringstream arcs(theirs);
    for (std::string arc; std::getline(arcs, arc, '.');) {
        if (arc.size() >= std::to_string(UINT32_MAX).size()) {
            return true;
        }
    }
    return text == theirs;
}

// Fields that are kept or passed over here as they came, and that OpenSSL takes apart.
inline constexpr std::string_view kKeptFields[] = {"Field=certificates",
                                                   "Field=crls",
                                                   "Field=issuer,",
                                                   "Field=parameter,",
                                                   "Field=signedAttrs",
                                                   "Field=unsignedAttrs",
                                                   "Field=digestAlgorithms",
                                                   "Field=eContentType",
                                                   "Field=version, Type=CMS_SignedData",
                                                   "Field=tsa,"};

// What OpenSSL wants in all that it reads: integers with contents, these and identifiers in their
// shortest form, a constructed tag on a SEQUENCE and none on a number, the end mark of one with
// indefinite length, and elements that end within the one that they lie in, where here they need
// only end within the whole.
inline constexpr int kStrictnesses[] = {
    ASN1_R_ILLEGAL_PADDING, ASN1_R_INVALID_OBJECT_ENCODING,  ASN1_R_NULL_IS_WRONG_LENGTH,
    ASN1_R_HEADER_TOO_LONG, ASN1_R_SEQUENCE_NOT_CONSTRUCTED, ASN1_R_TOO_LONG,
    ASN1_R_MISSING_EOC,     ASN1_R_ILLEGAL_ZERO_CONTENT,     ASN1_R_TYPE_NOT_PRIMITIVE};

// Whether the errors in OpenSSL's queue name such a reason; tells them otherwise.
inline bool is_named_reason() {
    bool found = false;
    std::string told;
    const char* detail = nullptr;
    int flags = 0;
    while (const auto error = ERR_get_error_all(nullptr, nullptr, nullptr, &detail, &flags)) {
        const std::string_view where = (flags & ERR_TXT_STRING) != 0 ? detail : "";
        found = found ||
                std::any_of(std::begin(kKeptFields), std::end(kKeptFields),
                            [&](auto field) { return where.find(field) != where.npos; }) ||
                std::find(std::begin(kStrictnesses), std::end(kStrictnesses),
                          ERR_GET_REASON(error)) != std::end(kStrictnesses);
        told += std::string("OpenSSL: ") + ERR_reason_error_string(error) + ' ' +
                std::string(where) + '\n';
    }
    if (!found) {
        std::fputs(told.c_str(), stderr);
    }
    return found;
}

} // namespace fuzzing
