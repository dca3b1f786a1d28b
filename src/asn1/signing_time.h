// CAttrSigningTime: the attribute SigningTime (RFC 5652, 11.3).
#pragma once

#include <memory>

#include "asn1/attr_value.h"
#include "asn1/time_choice.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

// The decoded form beside the encoded one of the base. The type is 1.2.840.113549.1.9.5. A time up
// to the year 2049 is a UTCTime, a later one a GeneralizedTime; fractions of a second aren't
// encoded.
class CAttrSigningTime : public CAttrValue {
public:
    explicit CAttrSigningTime(const CDateTime& time);
    // Throws 0x80093101 if `der` isn't a Time.
    explicit CAttrSigningTime(const CBlob& der);
    CAttrSigningTime(const CAttrSigningTime& other);
    CAttrSigningTime& operator=(const CAttrSigningTime& other);

    // The encoded form from the time, and the time from the encoded form. Throw 0x80093101.
    void encode();
    void decode();

    CDateTime get_time() const;
    // Encodes at once.
    void put_time(const CDateTime& time);

private:
    std::unique_ptr<CTimeChoice> time_;
};

} // namespace Halcyon::ASN1
