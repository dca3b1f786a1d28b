#include "asn1/algorithm_identifier_traits.h"

#include "asn1/heap_copy.h"
#include "asn1/object_identifier.h"

namespace Halcyon::ASN1 {

// AlgorithmIdentifier ::= SEQUENCE {
//     algorithm   OBJECT IDENTIFIER,
//     parameters  ANY DEFINED BY algorithm OPTIONAL }

namespace {

// The record on the context's heap, its parameters checked against what the schema knows of the
// algorithm.
asn1data::ASN1T_AlgorithmIdentifier* checkedCopy(ASN1CTXT* ctxt,
                                                 asn1data::ASN1T_AlgorithmIdentifier& local) {
    auto* const record = heapRecord<asn1data::ASN1T_AlgorithmIdentifier>(ctxt);
    if (!local.m.parametersPresent) {
        asn1data::asn1Copy_AlgorithmIdentifier(ctxt, &local, record);
        return record;
    }
    ASN1BERDecodeBuffer check;
    if (asn1data::asn1DTC_AlgorithmIdentifier(check.getCtxtPtr(), &local) != 0)
        failCodec();
    asn1data::asn1Copy_AlgorithmIdentifier(ctxt, &local, record);
    return record;
}

} // namespace

asn1data::ASN1T_AlgorithmIdentifier* ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, const char* oid,
                                                                   const CBlob* parameters) {
    asn1data::ASN1T_AlgorithmIdentifier local;
    if (str2oid(oid, &local.algorithm))
        failCodec();
    if (parameters && parameters->cbData() != 0) {
        local.m.parametersPresent = 1;
        heapOctets(ctxt, local.parameters, *parameters);
    }
    return checkedCopy(ctxt, local);
}

void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value,
                                   const asn1data::ASN1T_AlgorithmIdentifier& record) {
    const CStringProxy oid = toOID(record.algorithm);
    CBlob parameters;
    if (record.m.parametersPresent)
        parameters.assign(record.parameters.data, record.parameters.numocts);
    value.put_algorithm(oid.c_str());
    value.put_parameters(parameters);
}

void ASN1T_AlgorithmIdentifier_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                           const CAlgorithmIdentifier& value) {
    const ASN1_T& made =
        *ASN1T_AlgorithmIdentifier_set(ctxt, value.get_algorithm(), value.get_parameters());
    record.m = made.m;
    record.algorithm = made.algorithm;
    record.parameters = made.parameters;
}

void ASN1T_AlgorithmIdentifier_traits::get(const ASN1_T& record, CAlgorithmIdentifier& value) {
    ASN1T_AlgorithmIdentifier_get(value, record);
}

void ASN1T_AlgorithmIdentifier_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_AlgorithmIdentifier(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
