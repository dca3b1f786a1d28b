#include <chronoseal/asn1/policy_information.h>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/object_identifier.h>
#include <chronoseal/asn1/policy_information_traits.h>

namespace Halcyon::ASN1 {

template class Encodable<CPolicyInformation, ASN1T_PolicyInformation_traits>;

// PolicyInformation ::= SEQUENCE {
//     policyIdentifier  OBJECT IDENTIFIER,
//     policyQualifiers  SEQUENCE SIZE (1..MAX) OF PolicyQualifierInfo OPTIONAL }

void ASN1T_PolicyInformation_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                         const CPolicyInformation& value) {
    record.m = {};
    ASN1TObjId_traits::set(ctxt, record.policyIdentifier, value.get_policyIdentifier());
}

void ASN1T_PolicyInformation_traits::get(const ASN1_T& record, CPolicyInformation& value) {
    value.put_policyIdentifier(toOID(record.policyIdentifier).c_str());
}

} // namespace Halcyon::ASN1
