// CExtInvalidityDate: the CRL entry extension invalidityDate (RFC 5280, 5.3.2).
#pragma once

#include "asn1/ext_value.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

// The date beside the encoded form of the base, in which fractions of a second are cut off. The
// type is 2.5.29.24.
class CExtInvalidityDate : public CExtValue {
public:
    // 1970-01-01 and no encoded form.
    CExtInvalidityDate();
    explicit CExtInvalidityDate(const CDateTime& date);
    // Throws 0x80093101 if `der` isn't a GeneralizedTime, and as the constructor of CDateTime for a
    // text that isn't a date.
    explicit CExtInvalidityDate(const CBlob& der);

    void encode();
    void decode();

    const CDateTime& get_invalidityDate() const noexcept { return date_; }
    // Encodes at once.
    void put_invalidityDate(const CDateTime& date);

private:
    CDateTime date_;
};

} // namespace Halcyon::ASN1
