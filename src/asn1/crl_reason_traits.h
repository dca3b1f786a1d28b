// Traits of CRLReason. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/crl_reason.h"
#include "asn1data/pkix1_implicit.h"

namespace Halcyon::ASN1 {

// The numbers are carried over as they are.
struct ASN1T_CRLReason_traits : CCodeClassT<unsigned int, asn1data::ASN1C_CRLReason> {
    static void set(ASN1CTXT*, ASN1_T& record, CrlReason value) { record = value; }
    static void get(const ASN1_T& record, CrlReason& value) {
        value = static_cast<CrlReason>(record);
    }
    static void copy(ASN1CTXT*, const ASN1_T& from, ASN1_T& to) { to = from; }
};

} // namespace Halcyon::ASN1
