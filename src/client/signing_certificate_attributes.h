// The signed attributes that name a signer's certificate: SigningCertificate (RFC 2634),
// OtherSigningCertificate (RFC 5126) and SigningCertificateV2 (RFC 5035). Of each only the first
// certificate counts, the signer's.
#pragma once

#include <memory>

#include <basalt/message.h>
#include <chronoseal/asn1/cert_identifier.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::PKI {

// The first certificate of the attribute, all three in one form; null where the attribute is
// absent. Throw CAtlException 0x8007000B for an attribute that stands twice, has other than one
// value or no certificate, and 0x80093101 for one that can't be decoded.
std::unique_ptr<ASN1::COtherCertID> GetSignCertAttr(const CRYPT_ATTRIBUTES* attributes);
std::unique_ptr<ASN1::COtherCertID> GetOtherSignCertAttr(const CRYPT_ATTRIBUTES* attributes);
std::unique_ptr<ASN1::COtherCertID> GetSignCertAttrV2(const CRYPT_ATTRIBUTES* attributes);

// The identifier that counts: V2 before Other before V1. Which of them may stand together hangs on
// whether the signature is a time-stamp's. Throws 0x80092004 if there is none, 0x8007000B for
// attributes that may not stand together, and as above.
ASN1::COtherCertID GetSignerCertIdEx(const CRYPT_ATTRIBUTES* attributes, bool timestampRules);

// Whether every one of the attributes names this certificate, and they may stand together. Without
// any of them the result is the contrary of `attributeRequired`. Throws as the first three.
bool CheckSignerCertIdEx(const CRYPT_ATTRIBUTES* attributes, CBlob certificate,
                         bool attributeRequired, bool timestampRules);
// The same for a signer of a message. A null message gives false.
bool CheckSignerCertId(HCRYPTMSG message, unsigned signer, CBlob certificate,
                       bool attributeRequired, bool timestampRules);

} // namespace Halcyon::PKI
