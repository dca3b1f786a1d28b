// Traits of OtherHashAlgAndValue and OtherHash. See codec.h for what traits are.
#pragma once

#include "asn1/code_class.h"
#include "asn1/other_hash.h"
#include "asn1data/ets_electronic_signature.h"

namespace Halcyon::ASN1 {

struct ASN1T_OtherHashAlgAndValue_traits
    : CCodeClassT<asn1data::ASN1T_OtherHashAlgAndValue, asn1data::ASN1C_OtherHashAlgAndValue> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, COtherHashAlgAndValue const& value);
    static void get(ASN1_T const& record, COtherHashAlgAndValue& value);
    static void copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to);
};

struct ASN1T_OtherHash_traits : CCodeClassT<asn1data::ASN1T_OtherHash, asn1data::ASN1C_OtherHash> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, COtherHash const& value);
    static void get(ASN1_T const& record, COtherHash& value);
    static void copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
