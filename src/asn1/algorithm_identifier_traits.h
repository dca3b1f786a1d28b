// Traits of AlgorithmIdentifier. See codec.h for what traits are.
#pragma once

#include "asn1/algorithm_identifier.h"
#include "asn1/code_class.h"
#include "asn1data/pkix1_explicit.h"

namespace Halcyon::ASN1 {

// A record on the context's heap. Null and empty parameters are absent ones: they are never encoded
// as NULL. Throws 0x80093101 for a text that is no identifier and for parameters that don't fit a
// known algorithm.
asn1data::ASN1T_AlgorithmIdentifier* ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, char const* oid,
                                                                   CBlob const* parameters);
void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value,
                                   asn1data::ASN1T_AlgorithmIdentifier const& record);

struct ASN1T_AlgorithmIdentifier_traits
    : CCodeClassT<asn1data::ASN1T_AlgorithmIdentifier, asn1data::ASN1C_AlgorithmIdentifier> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, CAlgorithmIdentifier const& value);
    static void get(ASN1_T const& record, CAlgorithmIdentifier& value);
    static void copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to);
};

} // namespace Halcyon::ASN1
