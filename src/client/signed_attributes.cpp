// Extraction of signed attributes.
#include <chronoseal/client/signed_attributes.h>

#include <cstring>

#include <chronoseal/asn1/typed_attribute.h>
#include <chronoseal/atl/crypt_msg.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/client/result_codes.h>

namespace Halcyon {

namespace {

constexpr char kContentTypeOid[] = "1.2.840.113549.1.9.3";

// A reference of its own keeps the message alive for the length of a call.
ATL2::CCryptMsg referenced(HCRYPTMSG message) {
    return ATL2::CCryptMsg(CryptMsgDuplicate(message));
}

} // namespace

const CRYPT_ATTRIBUTE* FindOneInstanceSingleValueAttr(const CRYPT_ATTRIBUTES* attributes,
                                                      const char* oid) {
    const CRYPT_ATTRIBUTE* found = nullptr;
    for (DWORD i = 0; i < attributes->cAttr; ++i) {
        const auto& attribute = attributes->rgAttr[i];
        if (std::strcmp(attribute.pszObjId, oid) != 0) {
            continue;
        }
        if (found) {
            ATL::AtlThrowImpl(hr(PKI::TSP::Client::kResultBadAttributes));
        }
        found = &attribute;
    }
    if (found && found->cValue != 1) {
        ATL::AtlThrowImpl(hr(PKI::TSP::Client::kResultBadAttributes));
    }
    return found;
}

const CRYPT_ATTRIBUTES* ExtractSignedAttributes(HCRYPTMSG message, unsigned signer,
                                                ATL::CStringA& buffer) {
    const auto held = referenced(message);
    if (held.GetParam(CMSG_SIGNER_AUTH_ATTR_PARAM, signer, buffer) >= 0) {
        return reinterpret_cast<const CRYPT_ATTRIBUTES*>(buffer.Lock());
    }
    const CMSG_CMS_SIGNER_INFO* info = nullptr;
    if (const auto result = held.GetAndDecodeCmsSignerInfo(signer, buffer, &info); result < 0) {
        ATL::AtlThrowImpl(result);
    }
    return &info->AuthAttrs;
}

bool MatchEContentType(HCRYPTMSG message, unsigned signer, const char* oid, bool allowMissing) {
    const auto held = referenced(message);
    ATL::CStringA inner_type;
    if (const auto result = held.GetParam(CMSG_INNER_CONTENT_TYPE_PARAM, signer, inner_type);
        result < 0) {
        ATL::AtlThrowImpl(result);
    }
    if (*oid != '\0' && std::strcmp(oid, inner_type.GetString()) != 0) {
        return false;
    }
    ATL::CStringA buffer;
    const auto* attribute = FindOneInstanceSingleValueAttr(
        ExtractSignedAttributes(message, signer, buffer), kContentTypeOid);
    if (!attribute) {
        return allowMissing;
    }
    const ASN1::CAttrContentType type(
        CBlob(attribute->rgValue[0].pbData, attribute->rgValue[0].cbData));
    return std::strcmp(type.get_contentType(), inner_type.GetString()) == 0;
}

} // namespace Halcyon
