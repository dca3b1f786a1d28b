// Traits of Time. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/time_choice.h"
#include "asn1data/pkix1_explicit.h"

namespace Halcyon::ASN1 {

// Any kind but 1 and 2 leaves the record of `set` as it was, and throws 0x80093101 in `get`.
struct ASN1T_Time_traits : CCodeClassT<asn1data::ASN1T_Time, asn1data::ASN1C_Time> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value);
    static void get(const ASN1_T& record, CTimeChoice& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
