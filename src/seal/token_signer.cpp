// The search for the signer's certificate.
#include <chronoseal/seal/token_signer.h>

#include <algorithm>

#include <chronoseal/asn1/certificate_identification.h>
#include <chronoseal/atl/platform_answer.h>
#include <chronoseal/client/signed_attributes.h>
#include <chronoseal/client/signing_certificate_attributes.h>
#include <chronoseal/seal/certificate_info.h>
#include <chronoseal/seal/platform_text.h>

namespace chronoseal {

namespace {

using Halcyon::ASN1::COtherCertID;

COtherCertID identifier_of(const ATL2::CCryptMsg& message, const SignerRecord& record) {
    if (record.get() != nullptr) {
        return Halcyon::PKI::GetSignerCertIdEx(&record.get()->AuthAttrs, true);
    }
    ATL::CStringA buffer;
    return Halcyon::PKI::GetSignerCertIdEx(
        Halcyon::ExtractSignedAttributes(message.get(), 0, buffer), true);
}

// The digest in the identifier if that is a SHA-256 and all there is, as in most tokens: it can be
// compared with the one that is known of each certificate. Else null.
const Halcyon::CBlob* sole_sha256(const COtherCertID& id) {
    const auto* hash = id.get_otherCertHash().get_otherHash();
    return hash != nullptr && id.get_issuerSerial() == nullptr &&
                   std::string_view(hash->get_hashAlgorithm().get_algorithm()) ==
                       Halcyon::ASN1::kSha256
               ? &hash->get_hashValue()
               : nullptr;
}

ATL2::CCertContext find_in(HCERTSTORE store, const SignerName& name) {
    ATL2::CCertContext current;
    for (;;) {
        current.attach(CertEnumCertificatesInStore(store, current.detach()));
        if (!current || name.matches(*shared_certificate_info(current.get()))) {
            return current;
        }
    }
}

} // namespace

SignerName::SignerName(const ATL2::CCryptMsg& message, const SignerRecord& record) {
    try {
        id_ = std::make_shared<const COtherCertID>(identifier_of(message, record));
        code_ = 0;
    } catch (const ATL::CAtlException& failure) {
        code_ = static_cast<std::uint32_t>(failure.m_hr);
    }
}

bool SignerName::matches(const CertificateInfo& certificate) const {
    if (id_ == nullptr) {
        return false;
    }
    if (const auto* digest = sole_sha256(*id_)) {
        return std::ranges::equal(view_of(digest->pbData(), digest->cbData()), certificate.sha256);
    }
    return Halcyon::ASN1::OtherCertIDMatches(*id_, blob_of(certificate.der));
}

bool SignerName::is(const CertificateInfo& certificate) const {
    try {
        return matches(certificate);
    } catch (const ATL::CAtlException&) {
        return false;
    }
}

SignerSearch find_signer(const SignerName& name, const std::vector<const ATL2::CCertStore*>& stores,
                         const std::function<ATL2::CCertStore()>& last_store) {
    if (name.code() != 0) {
        return {{}, name.code()};
    }
    try {
        for (const ATL2::CCertStore* store : stores) {
            if (auto found = find_in(store->get(), name)) {
                return {std::move(found), 0};
            }
        }
        if (last_store) {
            if (auto found = find_in(last_store().get(), name)) {
                return {std::move(found), 0};
            }
        }
        return {{}, CRYPT_E_NOT_FOUND};
    } catch (const ATL::CAtlException& failure) {
        return {{}, static_cast<std::uint32_t>(failure.m_hr)};
    }
}

} // namespace chronoseal
