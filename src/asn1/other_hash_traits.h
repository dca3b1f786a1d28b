// Traits of OtherHashAlgAndValue and OtherHash. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/other_hash.h"
#include "asn1data/ets_electronic_signature.h"

namespace Halcyon::ASN1 {

struct ASN1T_OtherHashAlgAndValue_traits
    : CCodeClassT<asn1data::ASN1T_OtherHashAlgAndValue, asn1data::ASN1C_OtherHashAlgAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHashAlgAndValue& value);
    static void get(const ASN1_T& record, COtherHashAlgAndValue& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

struct ASN1T_OtherHash_traits : CCodeClassT<asn1data::ASN1T_OtherHash, asn1data::ASN1C_OtherHash> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const COtherHash& value);
    static void get(const ASN1_T& record, COtherHash& value);
    static void copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
