// Reading and judging of the signing-certificate attributes.
#include <chronoseal/client/signing_certificate_attributes.h>

#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/asn1/signing_certificate.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/client/result_codes.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/trace.h>

namespace Halcyon::PKI {

namespace {

using ASN1::COtherCertID;

// The first certificate that an attribute of this class names, or nothing where the attribute is
// absent.
template <class Attribute, class Convert>
std::unique_ptr<COtherCertID> first_certificate(const CRYPT_ATTRIBUTES* attributes, const char* oid,
                                                Convert convert) {
    const auto* found = FindOneInstanceSingleValueAttr(attributes, oid);
    if (!found) {
        return nullptr;
    }
    const Attribute attribute(CBlob(found->rgValue[0].pbData, found->rgValue[0].cbData));
    if (attribute.get_certs().empty()) {
        ATL::AtlThrowImpl(hr(TSP::Client::kResultBadAttributes)); // there is no first one to read
    }
    return std::make_unique<COtherCertID>(convert(attribute.get_certs().front()));
}

struct Identifiers {
    explicit Identifiers(const CRYPT_ATTRIBUTES* attributes)
        : v1(GetSignCertAttr(attributes)), other(GetOtherSignCertAttr(attributes)),
          v2(GetSignCertAttrV2(attributes)) {}

    bool none() const { return !v1 && !other && !v2; }

    // V1 goes with nothing but, in a time-stamp, V2; there one of these two has to be.
    bool may_stand_together(bool timestampRules) const {
        if (timestampRules) {
            return v1 ? !other : v2 != nullptr;
        }
        return !v1 || (!other && !v2);
    }

    std::unique_ptr<COtherCertID> v1;
    std::unique_ptr<COtherCertID> other;
    std::unique_ptr<COtherCertID> v2;
};

} // namespace

std::unique_ptr<COtherCertID> GetSignCertAttr(const CRYPT_ATTRIBUTES* attributes) {
    return first_certificate<ASN1::CAttrSigningCertificate>(
        attributes, "1.2.840.113549.1.9.16.2.12", [](const ASN1::CESSCertID& certificate) {
            COtherCertID id(certificate.get_certHash(),
                            ASN1::CAlgorithmIdentifier("1.3.14.3.2.26"));
            id.put_issuerSerial(certificate.get_issuerSerial());
            return id;
        });
}

std::unique_ptr<COtherCertID> GetOtherSignCertAttr(const CRYPT_ATTRIBUTES* attributes) {
    return first_certificate<ASN1::CAttrOtherSigningCertificate>(
        attributes, "1.2.840.113549.1.9.16.2.19",
        [](const COtherCertID& certificate) { return certificate; });
}

std::unique_ptr<COtherCertID> GetSignCertAttrV2(const CRYPT_ATTRIBUTES* attributes) {
    return first_certificate<ASN1::CAttrSigningCertificateV2>(
        attributes, "1.2.840.113549.1.9.16.2.47", [](const ASN1::CESSCertIDv2& certificate) {
            COtherCertID id(certificate.get_certHash(), certificate.get_hashAlgorithm());
            id.put_issuerSerial(certificate.get_issuerSerial());
            return id;
        });
}

COtherCertID GetSignerCertIdEx(const CRYPT_ATTRIBUTES* attributes, bool timestampRules) {
    const Identifiers ids(attributes);
    if (ids.none()) {
        trace("GetSignerCertIdEx", "(other)SigningCert attribute not found\n");
        ATL::AtlThrowImpl(hr(TSP::Client::kResultNotFound));
    }
    if (!ids.may_stand_together(timestampRules)) {
        trace("GetSignerCertIdEx",
              "Multiple instances of signingCert attributes are not allowed.\n");
        ATL::AtlThrowImpl(hr(TSP::Client::kResultBadAttributes));
    }
    return ids.v2 ? *ids.v2 : ids.other ? *ids.other : *ids.v1;
}

bool CheckSignerCertIdEx(const CRYPT_ATTRIBUTES* attributes, CBlob certificate,
                         bool attributeRequired, bool timestampRules) {
    constexpr char kFunction[] = "CheckSignerCertIdEx";
    const Identifiers ids(attributes);
    if (ids.none()) {
        trace(kFunction, "signingCert attribute not found\n");
        return !attributeRequired;
    }
    auto fails = [&](const std::unique_ptr<COtherCertID>& id, TraceText text) {
        if (!id || OtherCertIDMatches(*id, certificate)) {
            return false;
        }
        trace(kFunction, text);
        return true;
    };
    if (fails(ids.v2, "signinging-certificate-v2 attribute doesn't match signer's certificate\n") ||
        fails(ids.other,
              "other-signinging-certificate attribute doesn't match signer's certificate\n") ||
        fails(ids.v1, "signinging-certificate attribute doesn't match signer's certificate\n")) {
        return false;
    }
    if (timestampRules && !ids.v1 && !ids.v2) {
        trace(kFunction, "Timestamp should have at least one signingCert attribute.\n");
        return false;
    }
    return ids.may_stand_together(timestampRules);
}

bool CheckSignerCertId(HCRYPTMSG message, unsigned signer, CBlob certificate,
                       bool attributeRequired, bool timestampRules) {
    if (!message) {
        return false;
    }
    ATL::CStringA buffer;
    return CheckSignerCertIdEx(ExtractSignedAttributes(message, signer, buffer), certificate,
                               attributeRequired, timestampRules);
}

} // namespace Halcyon::PKI
