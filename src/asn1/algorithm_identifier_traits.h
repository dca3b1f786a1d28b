// Traits of AlgorithmIdentifier. See codec.h for what traits are.
#pragma once

#include <chronoseal/asn1/algorithm_identifier.h>
#include <chronoseal/asn1/record_traits.h>
#include <chronoseal/asn1data/pkix1_explicit.h>

namespace Halcyon::ASN1 {

// A record on the context's heap. Null and empty parameters are absent ones: they are never encoded
// as NULL. Throws 0x80093101 for a text that is no identifier and for parameters that don't fit a
// known algorithm, 0x80093106 without memory.
asn1data::ASN1T_AlgorithmIdentifier* ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, const char* oid,
                                                                   const CBlob* parameters);
void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value,
                                   const asn1data::ASN1T_AlgorithmIdentifier& record);

struct ASN1T_AlgorithmIdentifier_traits
    : OpenRecordTraits<asn1data::ASN1T_AlgorithmIdentifier, asn1data::ASN1C_AlgorithmIdentifier,
                       asn1data::asn1Copy_AlgorithmIdentifier,
                       asn1data::asn1DTC_AlgorithmIdentifier> {
    static void set(ASN1CTXT* ctxt, ASN1_T& record, const CAlgorithmIdentifier& value);
    static void get(const ASN1_T& record, CAlgorithmIdentifier& value);
};

} // namespace Halcyon::ASN1
