// The search for the signer's certificate.
#include <chronoseal/seal/token_signer.h>

#include <basalt/error_codes.h>
#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

using Halcyon::ASN1::COtherCertID;

COtherCertID identifier_of(const ATL2::CCryptMsg& message) {
    ATL::CStringA buffer;
    return Halcyon::PKI::GetSignerCertIdEx(
        Halcyon::ExtractSignedAttributes(message.get(), 0, buffer), true);
}

ATL2::CCertContext find_in(HCERTSTORE store, const COtherCertID& id) {
    ATL2::CCertContext current;
    for (;;) {
        current.attach(CertEnumCertificatesInStore(store, current.detach()));
        if (!current) {
            return {};
        }
        const Halcyon::CBlob der(current->pbCertEncoded, current->cbCertEncoded);
        if (Halcyon::ASN1::OtherCertIDMatches(id, der)) {
            return current;
        }
    }
}

} // namespace

bool names_certificate(const ATL2::CCryptMsg& message, ByteView certificate) {
    try {
        return message &&
               Halcyon::ASN1::OtherCertIDMatches(identifier_of(message), blob_of(certificate));
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

SignerSearch find_signer(const ATL2::CCryptMsg& message,
                         const std::vector<const ATL2::CCertStore*>& stores) {
    try {
        const COtherCertID id = identifier_of(message);
        for (const ATL2::CCertStore* store : stores) {
            if (auto found = find_in(store->get(), id)) {
                return {std::move(found), 0};
            }
        }
        return {{}, CRYPT_E_NOT_FOUND};
    } catch (const ATL::CAtlException& failure) {
        return {{}, static_cast<std::uint32_t>(failure.m_hr)};
    }
}

} // namespace chronoseal
