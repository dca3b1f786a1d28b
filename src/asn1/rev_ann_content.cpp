#include "asn1/rev_ann_content.h"

#include "asn1/cert_id_traits.h"
#include "asn1/codec.h"
#include "asn1/extension_traits.h"
#include "asn1/generalized_time.h"
#include "asn1/optional_owner.h"
#include "asn1/rev_ann_content_traits.h"

namespace Halcyon::ASN1 {

struct RevAnnContentBlock {
    RevAnnContentBlock(PKIStatusEnum status, const CCertId& certId,
                       const CDateTime& willBeRevokedAt, const CDateTime& badSinceDate)
        : status(status), certId(certId), willBeRevokedAt(willBeRevokedAt),
          badSinceDate(badSinceDate) {}
    RevAnnContentBlock(const RevAnnContentBlock& other)
        : RevAnnContentBlock(other.status, other.certId, other.willBeRevokedAt,
                             other.badSinceDate) {
        copy_to_auto_ptr(crlDetails, other.crlDetails.get());
    }

    PKIStatusEnum status;
    CCertId certId;
    CDateTime willBeRevokedAt;
    CDateTime badSinceDate;
    std::unique_ptr<CExtensions> crlDetails;
};

CRevAnnContent::CRevAnnContent(const PKIStatusEnum& status, const CCertId& certId,
                               const CDateTime& willBeRevokedAt, const CDateTime& badSinceDate)
    : block_(std::make_unique<RevAnnContentBlock>(status, certId, willBeRevokedAt, badSinceDate)) {}

CRevAnnContent::CRevAnnContent(const CRevAnnContent& other)
    : block_(std::make_unique<RevAnnContentBlock>(*other.block_)) {}

CRevAnnContent& CRevAnnContent::operator=(const CRevAnnContent& other) {
    if (this != &other)
        block_ = std::make_unique<RevAnnContentBlock>(*other.block_);
    return *this;
}

CRevAnnContent::~CRevAnnContent() = default;

const PKIStatusEnum& CRevAnnContent::get_status() const noexcept {
    return block_->status;
}
const CCertId& CRevAnnContent::get_certId() const noexcept {
    return block_->certId;
}
const CDateTime& CRevAnnContent::get_willBeRevokedAt() const noexcept {
    return block_->willBeRevokedAt;
}
const CDateTime& CRevAnnContent::get_badSinceDate() const noexcept {
    return block_->badSinceDate;
}
const CExtensions* CRevAnnContent::get_crlDetails() const noexcept {
    return block_->crlDetails.get();
}

void CRevAnnContent::put_status(const PKIStatusEnum& status) {
    block_->status = status;
}
void CRevAnnContent::put_certId(const CCertId& certId) {
    block_->certId = certId;
}
void CRevAnnContent::put_willBeRevokedAt(const CDateTime& date) {
    block_->willBeRevokedAt = date;
}
void CRevAnnContent::put_badSinceDate(const CDateTime& date) {
    block_->badSinceDate = date;
}
void CRevAnnContent::put_crlDetails(const CExtensions* details) {
    copy_to_auto_ptr(block_->crlDetails, details);
}

CBlob CRevAnnContent::encode() const {
    return asn1Encode<ASN1T_RevAnnContent_traits, CRevAnnContent>(*this);
}

void CRevAnnContent::decode(const CBlob& der) {
    asn1Decode<ASN1T_RevAnnContent_traits, CRevAnnContent>(der, *this);
}

// RevAnnContent ::= SEQUENCE {
//     status           PKIStatus,
//     certId           CertId,
//     willBeRevokedAt  GeneralizedTime,
//     badSinceDate     GeneralizedTime,
//     crlDetails       Extensions OPTIONAL }

void ASN1T_RevAnnContent_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CRevAnnContent& value) {
    record.m = {};
    record.status = value.get_status();
    ASN1T_CertId_traits::set(ctxt, record.certId, value.get_certId());
    ASN1GeneralizedTime_traits::set(ctxt, record.willBeRevokedAt, value.get_willBeRevokedAt());
    ASN1GeneralizedTime_traits::set(ctxt, record.badSinceDate, value.get_badSinceDate());
    const CExtensions* const details = value.get_crlDetails();
    if (details && !details->empty()) {
        record.m.crlDetailsPresent = 1;
        ASN1T_Extensions_traits::set(ctxt, record.crlDetails, *details);
    }
}

void ASN1T_RevAnnContent_traits::get(const ASN1_T& record, CRevAnnContent& value) {
    value.put_status(static_cast<PKIStatusEnum>(record.status));
    CCertId certId;
    ASN1T_CertId_traits::get(record.certId, certId);
    value.put_certId(certId);
    CDateTime date(0L, 0);
    ASN1GeneralizedTime_traits::get(record.willBeRevokedAt, date);
    value.put_willBeRevokedAt(date);
    ASN1GeneralizedTime_traits::get(record.badSinceDate, date);
    value.put_badSinceDate(date);
    CExtensions details;
    if (record.m.crlDetailsPresent)
        ASN1T_Extensions_traits::get(record.crlDetails, details);
    value.put_crlDetails(record.m.crlDetailsPresent ? &details : nullptr);
}

void ASN1T_RevAnnContent_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_RevAnnContent(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
