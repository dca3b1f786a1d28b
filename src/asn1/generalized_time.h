// GeneralizedTime texts from date values. Failures are CAtlException.
#pragma once

#include <string>

#include "asn1rt/runtime.h"
#include "asn1rt/time_control.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

// The text on the context's heap. With `noFraction` what is below a second is cut off: a time is
// never rounded up on the wire. Throws 0x80093106 without memory.
const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& date, bool noFraction);

// The text that a time control object makes of the date. Throws 0x80093101 for a date that its kind
// of time can't hold.
std::string GetASN1CTimeString(const CDateTime& date, ASN1CTime& control);

// Between a text and a date without fraction on writing. The contents are taken for a date by the
// constructor of CDateTime, with its failures.
struct ASN1GeneralizedTime_traits {
    using ASN1_T = const char*;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDateTime& value);
    static void get(const ASN1_T& record, CDateTime& value);
    // The text is read and written anew.
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
    static int encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record);
    static int decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record);
};

} // namespace Halcyon::ASN1
