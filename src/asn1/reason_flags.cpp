#include "asn1/reason_flags.h"

#include "asn1/distribution_point_traits.h"

namespace Halcyon::ASN1 {

const CReasonFlags::Flag CReasonFlags::sequence[10] = {
    unused,          keyCompromise,
    cACompromise,    affiliationChanged,
    superseded,      cessationOfOperation,
    certificateHold, privilegeWithdrawn,
    aACompromise,    Flag{},
};

void CReasonFlags::put_bit(unsigned int n, bool on) noexcept {
    const unsigned int mask = 1u << (n % 32);
    value_ = on ? value_ | mask : value_ & ~mask;
}

// ReasonFlags ::= BIT STRING { unused (0), keyCompromise (1), ..., aACompromise (8) }

void ASN1T_ReasonFlags_traits::set(ASN1CTXT*, ASN1_T& record, const CReasonFlags& value) {
    constexpr unsigned int wireBits = 16;
    record = {};
    record.numbits = wireBits;
    asn1data::ASN1C_ReasonFlags control(record);
    control.clear();
    for (unsigned int n = 0; n < wireBits; ++n)
        if (value.get_bit(n))
            control.set(n);
}

void ASN1T_ReasonFlags_traits::get(const ASN1_T& record, CReasonFlags& value) {
    value.put_value(0);
    ASN1_T local = record;
    asn1data::ASN1C_ReasonFlags control(local);
    const auto length = static_cast<unsigned int>(control.length());
    for (unsigned int n = 0; n < length; ++n)
        if (control.get(n))
            value.put_bit(n, true);
}

void ASN1T_ReasonFlags_traits::copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) {
    to = from;
}

} // namespace Halcyon::ASN1
