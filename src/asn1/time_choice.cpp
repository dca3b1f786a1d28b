#include "asn1/time_choice.h"

#include "asn1/choice.h"
#include "asn1/codec.h"
#include "asn1/time_choice_traits.h"

namespace Halcyon::ASN1 {

class CTimeChoiceImpl final : public Choice {
public:
    ~CTimeChoiceImpl() override { clearValue(); }

protected:
    const ChoiceValueTraits* findTraits(unsigned int kind) const noexcept override {
        switch (kind) {
        case 1:
            return &ChoiceValueTraitsT<CDateTime, 1>::instance;
        case 2:
            return &ChoiceValueTraitsT<CDateTime, 2>::instance;
        default:
            return &ChoiceValueTraitsT<void*, 0>::instance;
        }
    }
};

CTimeChoice::CTimeChoice() : impl_(std::make_unique<CTimeChoiceImpl>()) {
    const CDateTime epoch(0L, 0);
    impl_->put(1, &epoch);
}

CTimeChoice::CTimeChoice(const CTimeChoice& other) : impl_(copyChoice(other.impl_)) {}

CTimeChoice& CTimeChoice::operator=(const CTimeChoice& other) {
    assignChoice(impl_, other.impl_);
    return *this;
}

CTimeChoice::~CTimeChoice() = default;

void CTimeChoice::clear() noexcept {
    impl_.reset();
}

unsigned int CTimeChoice::get_type() const noexcept {
    return choiceType(impl_);
}

const CDateTime* CTimeChoice::get_time() const noexcept {
    const CDateTime* const utcTime = choiceValue<CDateTime>(impl_, 1);
    return utcTime ? utcTime : choiceValue<CDateTime>(impl_, 2);
}

void CTimeChoice::put_time(const CDateTime& date) {
    putChoice(impl_, date.year() > 2049 ? 2 : 1, &date);
}

CBlob CTimeChoice::encode() const {
    return asn1Encode<ASN1T_Time_traits, CTimeChoice>(*this);
}

void CTimeChoice::decode(const CBlob& der) {
    asn1Decode<ASN1T_Time_traits, CTimeChoice>(der, *this);
}

} // namespace Halcyon::ASN1
