// Extraction of signed attributes.
#include "client/signed_attributes.h"

#include <cstring>

#include "asn1/content_type.h"
#include "atl/crypt_msg.h"
#include "base/atl_exception.h"
#include "base/blob.h"

namespace Halcyon {

namespace {

constexpr std::int32_t badFormat = hr(0x8007000Bu);
constexpr char contentTypeOid[] = "1.2.840.113549.1.9.3";

// A reference of its own keeps the message alive for the length of a call.
ATL2::CCryptMsg referenced(HCRYPTMSG message) {
    return ATL2::CCryptMsg(CryptMsgDuplicate(message));
}

} // namespace

CRYPT_ATTRIBUTE const* FindOneInstanceSingleValueAttr(CRYPT_ATTRIBUTES const* attributes,
                                                      char const* oid) {
    CRYPT_ATTRIBUTE const* found = nullptr;
    for (DWORD i = 0; i < attributes->cAttr; ++i) {
        auto const& attribute = attributes->rgAttr[i];
        if (std::strcmp(attribute.pszObjId, oid) != 0) {
            continue;
        }
        if (found) {
            ATL::AtlThrowImpl(badFormat);
        }
        found = &attribute;
    }
    if (found && found->cValue != 1) {
        ATL::AtlThrowImpl(badFormat);
    }
    return found;
}

CRYPT_ATTRIBUTES const* ExtractSignedAttributes(HCRYPTMSG message, unsigned signer,
                                                ATL::CStringA& buffer) {
    auto const held = referenced(message);
    if (held.GetParam(CMSG_SIGNER_AUTH_ATTR_PARAM, signer, buffer) >= 0) {
        return reinterpret_cast<CRYPT_ATTRIBUTES const*>(buffer.Lock());
    }
    CMSG_CMS_SIGNER_INFO const* info = nullptr;
    if (auto const result = held.GetAndDecodeCmsSignerInfo(signer, buffer, &info); result < 0) {
        ATL::AtlThrowImpl(result);
    }
    return &info->AuthAttrs;
}

bool MatchEContentType(HCRYPTMSG message, unsigned signer, char const* oid, bool allowMissing) {
    auto const held = referenced(message);
    ATL::CStringA innerType;
    if (auto const result = held.GetParam(CMSG_INNER_CONTENT_TYPE_PARAM, signer, innerType);
        result < 0) {
        ATL::AtlThrowImpl(result);
    }
    if (*oid != '\0' && std::strcmp(oid, innerType.GetString()) != 0) {
        return false;
    }
    ATL::CStringA buffer;
    auto const* attribute = FindOneInstanceSingleValueAttr(
        ExtractSignedAttributes(message, signer, buffer), contentTypeOid);
    if (!attribute) {
        return allowMissing;
    }
    ASN1::CAttrContentType const type(
        CBlob(attribute->rgValue[0].pbData, attribute->rgValue[0].cbData));
    return std::strcmp(type.get_contentType(), innerType.GetString()) == 0;
}

} // namespace Halcyon
