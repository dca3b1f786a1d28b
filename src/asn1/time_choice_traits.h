// Traits of Time and GeneralizedTime, and the texts of dates under them. See codec.h for what
// traits are.
#pragma once

#include <string>

#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1/time_choice.h>
#include <chronoseal/asn1data/pkix1_explicit.h>
#include <chronoseal/asn1rt/time_control.h>

namespace Halcyon::ASN1 {

// The text on the context's heap. With `noFraction` what is below a second is cut off: a time is
// never rounded up on the wire. Throws 0x80093106 without memory.
const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& date, bool noFraction);

// The text that a time control object makes of the date. Throws 0x80093101 for a date that its kind
// of time can't hold.
std::string GetASN1CTimeString(const CDateTime& date, ASN1CTime& control);

// Between a text and a date, without fraction on writing. A text that was read is taken for a date
// by the constructor of CDateTime, whose codes pass through: 0x8007076D for a character that is no
// digit, 0x80004005 for a date that isn't one.
struct ASN1GeneralizedTime_traits {
    using ASN1_T = const char*;

    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CDateTime& value);
    static void get(const ASN1_T& record, CDateTime& value);
    // The text is read and written anew.
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
    static int encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record);
    static int decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record);
};

// Any kind but 1 and 2 leaves the record of `set` as it was, and throws 0x80093101 in `get`, as
// does a date that isn't one.
struct ASN1T_Time_traits
    : RecordTraits<asn1data::ASN1T_Time, asn1data::ASN1C_Time, asn1data::asn1Copy_Time> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value);
    static void get(const ASN1_T& record, CTimeChoice& value);
};

} // namespace Halcyon::ASN1
