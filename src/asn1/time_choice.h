// CTimeChoice: the CHOICE Time of certificates and of the signing-time attribute (RFC 5280,
// 4.1.2.5).
#pragma once

#include <chronoseal/asn1/choice.h>
#include <chronoseal/asn1/encodable.h>
#include <chronoseal/base/blob.h>
#include <chronoseal/base/date_time.h>

namespace Halcyon::ASN1 {

struct ASN1T_Time_traits;

inline constexpr Alternative<CDateTime, 1> kUtcTime;
inline constexpr Alternative<CDateTime, 2> kGeneralTime;

class CTimeChoiceImpl final : public ChoiceOf<kUtcTime, kGeneralTime> {};

// A new object is of kind 1 and holds 1970-01-01. The value's fraction of a second isn't encoded.
class CTimeChoice : public ChoiceValue<CTimeChoiceImpl>,
                    public Encodable<CTimeChoice, ASN1T_Time_traits> {
public:
    CTimeChoice() { put(kUtcTime, CDateTime(0L, 0)); }

    // Null if nothing is held.
    const CDateTime* get_time() const noexcept;
    // Kind 2 for a year above 2049, kind 1 for all others, those before 1950 included.
    void put_time(const CDateTime& date);

    // The DER. Throws 0x80093101 if the time can't be written.
    using Encodable::encode;
    // The kind follows from the year by the rule of `put_time`, whatever it was in `der`. Throws
    // 0x80093101, for a date that isn't one too; the value stays as it was then.
    using Encodable::decode;
};

} // namespace Halcyon::ASN1
