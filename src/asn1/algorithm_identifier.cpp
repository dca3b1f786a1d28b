#include <chronoseal/asn1/algorithm_identifier.h>

#include <cstring>
#include <utility>

#include <chronoseal/asn1/algorithm_identifier_ex.h>
#include <chronoseal/asn1/algorithm_identifier_traits.h>
#include <chronoseal/asn1/object_identifier.h>

namespace Halcyon::ASN1 {

CAlgorithmIdentifier::CAlgorithmIdentifier() : algorithm_("") {}

CAlgorithmIdentifier::CAlgorithmIdentifier(const char* oid) : algorithm_(oid) {}

CAlgorithmIdentifier& CAlgorithmIdentifier::operator=(const CAlgorithmIdentifier& other) {
    if (this != &other) {
        assign(other);
    }
    return *this;
}

CAlgorithmIdentifier::~CAlgorithmIdentifier() = default;

void CAlgorithmIdentifier::assign(const CAlgorithmIdentifier& other) {
    CAlgorithmIdentifier copy(other);
    swap(copy);
}

void CAlgorithmIdentifier::swap(CAlgorithmIdentifier& other) {
    std::swap(algorithm_, other.algorithm_);
    parameters_.swap(other.parameters_);
}

void CAlgorithmIdentifier::put_algorithm(const char* oid) {
    algorithm_ = CStringProxy(oid);
}

void CAlgorithmIdentifier::put_parameters(const CBlob& parameters) {
    parameters_ = parameters;
}

bool operator==(const CAlgorithmIdentifier& a, const CAlgorithmIdentifier& b) noexcept {
    return std::strcmp(a.get_algorithm(), b.get_algorithm()) == 0 &&
           *a.get_parameters() == *b.get_parameters();
}

CBlob CAlgorithmIdentifier::encode() const {
    return asn1Encode<ASN1T_AlgorithmIdentifier_traits, CAlgorithmIdentifier>(*this);
}

void CAlgorithmIdentifier::decode(const CBlob& der) {
    asn1Decode<ASN1T_AlgorithmIdentifier_traits, CAlgorithmIdentifier>(der, *this);
}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx() : cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(const char* oid)
    : CAlgorithmIdentifier(oid), cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(const CAlgorithmIdentifier& other)
    : CAlgorithmIdentifier(other), cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(const CAlgorithmIdentifierEx& other) = default;

CAlgorithmIdentifierEx&
CAlgorithmIdentifierEx::operator=(const CAlgorithmIdentifierEx& other) = default;

CAlgorithmIdentifierEx::~CAlgorithmIdentifierEx() = default;

void CAlgorithmIdentifierEx::put_algorithm(const char* oid) {
    if (std::strcmp(oid ? oid : "", get_algorithm()) == 0) {
        return;
    }
    cachedAlgId = 0;
    CAlgorithmIdentifier::put_algorithm(oid);
}

// AlgorithmIdentifier ::= SEQUENCE {
//     algorithm   OBJECT IDENTIFIER,
//     parameters  ANY DEFINED BY algorithm OPTIONAL }

asn1data::ASN1T_AlgorithmIdentifier* ASN1T_AlgorithmIdentifier_set(ASN1CTXT* ctxt, const char* oid,
                                                                   const CBlob* parameters) {
    auto* const record = heap_record<asn1data::ASN1T_AlgorithmIdentifier>(ctxt);
    asn1data::ASN1T_AlgorithmIdentifier local;
    if (str2oid(oid, &local.algorithm)) {
        fail_codec();
    }
    if (parameters && parameters->cbData() != 0) {
        local.m.parametersPresent = 1;
        heap_octets(ctxt, local.parameters, *parameters);
        ASN1T_AlgorithmIdentifier_traits::copy_checked(ctxt, local, *record);
    } else {
        ASN1T_AlgorithmIdentifier_traits::copy(ctxt, local, *record);
    }
    return record;
}

void ASN1T_AlgorithmIdentifier_get(CAlgorithmIdentifier& value,
                                   const asn1data::ASN1T_AlgorithmIdentifier& record) {
    const CStringProxy oid = toOID(record.algorithm);
    CBlob parameters;
    if (record.m.parametersPresent) {
        parameters.assign(record.parameters.data, record.parameters.numocts);
    }
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

} // namespace Halcyon::ASN1
