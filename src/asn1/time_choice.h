// CTimeChoice: the CHOICE Time of certificates and of the signing-time attribute (RFC 5280,
// 4.1.2.5).
#pragma once

#include <memory>

#include "base/blob.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

class CTimeChoiceImpl;

// Kind 1 is utcTime, kind 2 generalTime. A new object is of kind 1 and holds 1970-01-01. The
// value's fraction of a second isn't encoded.
class CTimeChoice {
public:
    CTimeChoice();
    CTimeChoice(const CTimeChoice& other);
    CTimeChoice& operator=(const CTimeChoice& other);
    ~CTimeChoice();
    // Gives up the value. After that the object may only be assigned to or destroyed.
    void clear() noexcept;

    unsigned int get_type() const noexcept;
    // Null if nothing is held.
    const CDateTime* get_time() const noexcept;
    // Kind 2 for a year above 2049, kind 1 for all others, those before 1950 included.
    void put_time(const CDateTime& date);

    // The DER. Throws 0x80093101 if the time can't be written.
    CBlob encode() const;
    // The kind follows from the year by the rule of `put_time`, whatever it was in `der`. Throws
    // 0x80093101.
    void decode(const CBlob& der);

private:
    std::unique_ptr<CTimeChoiceImpl> impl_;
};

} // namespace Halcyon::ASN1
