#include "asn1/distribution_point.h"

#include "asn1/codec.h"
#include "asn1/distribution_point_traits.h"
#include "asn1/general_name_traits.h"
#include "asn1/optional_owner.h"

namespace Halcyon::ASN1 {

struct CDistributionPointImpl {
    CDistributionPointImpl() = default;
    CDistributionPointImpl(const CDistributionPointImpl& other) {
        copy_to_auto_ptr(distributionPoint, other.distributionPoint.get());
        copy_to_auto_ptr(reasons, other.reasons.get());
        copy_to_auto_ptr(cRLIssuer, other.cRLIssuer.get());
    }

    std::unique_ptr<CDistributionPointName> distributionPoint;
    std::unique_ptr<CReasonFlags> reasons;
    std::unique_ptr<CGeneralNames> cRLIssuer;
};

CDistributionPoint::CDistributionPoint() : impl_(std::make_unique<CDistributionPointImpl>()) {}

CDistributionPoint::CDistributionPoint(const CDistributionPoint& other)
    : impl_(std::make_unique<CDistributionPointImpl>(*other.impl_)) {}

CDistributionPoint& CDistributionPoint::operator=(const CDistributionPoint& other) {
    if (this != &other)
        impl_ = std::make_unique<CDistributionPointImpl>(*other.impl_);
    return *this;
}

CDistributionPoint::~CDistributionPoint() = default;

void CDistributionPoint::clear() noexcept {
    impl_->distributionPoint.reset();
    impl_->reasons.reset();
    impl_->cRLIssuer.reset();
}

const CDistributionPointName* CDistributionPoint::get_distributionPoint() const noexcept {
    return impl_->distributionPoint.get();
}

const CReasonFlags* CDistributionPoint::get_reasons() const noexcept {
    return impl_->reasons.get();
}

const CGeneralNames* CDistributionPoint::get_cRLIssuer() const noexcept {
    return impl_->cRLIssuer.get();
}

void CDistributionPoint::put_distributionPoint(const CDistributionPointName* name) {
    copy_to_auto_ptr(impl_->distributionPoint, name);
}

void CDistributionPoint::put_reasons(const CReasonFlags* reasons) {
    copy_to_auto_ptr(impl_->reasons, reasons);
}

void CDistributionPoint::put_cRLIssuer(const CGeneralNames* issuer) {
    copy_to_auto_ptr(impl_->cRLIssuer, issuer);
}

bool operator==(const CDistributionPoint& a, const CDistributionPoint& b) noexcept {
    return equal_optional(a.get_cRLIssuer(), b.get_cRLIssuer()) &&
           equal_optional(a.get_distributionPoint(), b.get_distributionPoint()) &&
           equal_optional(a.get_reasons(), b.get_reasons());
}

CBlob CDistributionPoint::encode() const {
    return asn1Encode<ASN1T_DistributionPoint_traits, CDistributionPoint>(*this);
}

void CDistributionPoint::decode(const CBlob& der) {
    asn1Decode<ASN1T_DistributionPoint_traits, CDistributionPoint>(der, *this);
}

CBlob CCRLDistPointsSyntax::encode() const {
    return asn1Encode<ASN1T_CRLDistPointsSyntax_traits, CCRLDistPointsSyntax>(*this);
}

void CCRLDistPointsSyntax::decode(const CBlob& der) {
    asn1Decode<ASN1T_CRLDistPointsSyntax_traits, CCRLDistPointsSyntax>(der, *this);
}

// DistributionPoint ::= SEQUENCE {
//     distributionPoint  [0] EXPLICIT DistributionPointName OPTIONAL,
//     reasons            [1] IMPLICIT ReasonFlags OPTIONAL,
//     cRLIssuer          [2] IMPLICIT GeneralNames OPTIONAL }

void ASN1T_DistributionPoint_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                         const CDistributionPoint& value) {
    record.m = {};
    if (const CDistributionPointName* const name = value.get_distributionPoint()) {
        record.m.distributionPointPresent = 1;
        ASN1T_DistributionPointName_traits::set(ctxt, record.distributionPoint, *name);
    }
    if (const CReasonFlags* const reasons = value.get_reasons()) {
        record.m.reasonsPresent = 1;
        ASN1T_ReasonFlags_traits::set(ctxt, record.reasons, *reasons);
    }
    const CGeneralNames* const issuer = value.get_cRLIssuer();
    if (issuer && !issuer->empty()) {
        record.m.cRLIssuerPresent = 1;
        ASN1T_GeneralNames_traits::set(ctxt, record.cRLIssuer, *issuer);
    }
}

void ASN1T_DistributionPoint_traits::get(const ASN1_T& record, CDistributionPoint& value) {
    value.clear();
    if (record.m.distributionPointPresent) {
        CDistributionPointName name;
        ASN1T_DistributionPointName_traits::get(record.distributionPoint, name);
        value.put_distributionPoint(&name);
    }
    if (record.m.reasonsPresent) {
        CReasonFlags reasons(0);
        ASN1T_ReasonFlags_traits::get(record.reasons, reasons);
        value.put_reasons(&reasons);
    }
    if (record.m.cRLIssuerPresent) {
        CGeneralNames issuer;
        ASN1T_GeneralNames_traits::get(record.cRLIssuer, issuer);
        value.put_cRLIssuer(&issuer);
    }
}

void ASN1T_DistributionPoint_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_DistributionPoint(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
