#include "asn1/distribution_point_name.h"

#include "asn1/choice.h"
#include "asn1/codec.h"
#include "asn1/distribution_point_traits.h"
#include "asn1/general_name_traits.h"
#include "asn1/optional_owner.h"

namespace Halcyon::ASN1 {

class CDistributionPointNameImpl final : public Choice {
public:
    ~CDistributionPointNameImpl() override { clearValue(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept override {
        if (kind == 1)
            return &ChoiceValueTraitsT<CGeneralNames, 1>::instance;
        return &ChoiceValueTraitsT<void*, 0>::instance;
    }
};

CDistributionPointName::CDistributionPointName()
    : impl_(std::make_unique<CDistributionPointNameImpl>()) {}

CDistributionPointName::CDistributionPointName(const CGeneralNames& fullName)
    : CDistributionPointName() {
    put_fullName(fullName);
}

CDistributionPointName::CDistributionPointName(const CDistributionPointName& other)
    : impl_(copyChoice(other.impl_)) {}

CDistributionPointName& CDistributionPointName::operator=(const CDistributionPointName& other) {
    assignChoice(impl_, other.impl_);
    return *this;
}

CDistributionPointName::~CDistributionPointName() = default;

void CDistributionPointName::clear() noexcept {
    impl_.reset();
}

unsigned int CDistributionPointName::get_type() const noexcept {
    return choiceType(impl_);
}

const CGeneralNames* CDistributionPointName::get_fullName() const noexcept {
    return choiceValue<CGeneralNames>(impl_, 1);
}

void CDistributionPointName::put_fullName(const CGeneralNames& fullName) {
    putChoice(impl_, 1, &fullName);
}

bool operator==(const CDistributionPointName& a, const CDistributionPointName& b) noexcept {
    return a.get_type() == b.get_type() && equal_optional(a.get_fullName(), b.get_fullName());
}

CBlob CDistributionPointName::encode() const {
    return asn1Encode<ASN1T_DistributionPointName_traits, CDistributionPointName>(*this);
}

void CDistributionPointName::decode(const CBlob& der) {
    asn1Decode<ASN1T_DistributionPointName_traits, CDistributionPointName>(der, *this);
}

// DistributionPointName ::= CHOICE {
//     fullName                 [0] IMPLICIT GeneralNames,
//     nameRelativeToCRLIssuer  [1] IMPLICIT RelativeDistinguishedName }

void ASN1T_DistributionPointName_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                             const CDistributionPointName& value) {
    record.t = 0;
    record.u.fullName = nullptr;
    if (const CGeneralNames* const fullName = value.get_fullName()) {
        record.t = 1;
        record.u.fullName = heapRecord<asn1data::ASN1T_GeneralNames>(ctxt);
        ASN1T_GeneralNames_traits::set(ctxt, *record.u.fullName, *fullName);
    }
}

void ASN1T_DistributionPointName_traits::get(const ASN1_T& record, CDistributionPointName& value) {
    if (record.t != 1)
        return;
    CGeneralNames fullName;
    ASN1T_GeneralNames_traits::get(*record.u.fullName, fullName);
    value.put_fullName(fullName);
}

void ASN1T_DistributionPointName_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_DistributionPointName(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
