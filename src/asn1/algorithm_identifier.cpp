#include "asn1/algorithm_identifier.h"

#include <cstring>
#include <utility>

#include "asn1/algorithm_identifier_traits.h"
#include "asn1/codec.h"

namespace Halcyon::ASN1 {

CAlgorithmIdentifier::CAlgorithmIdentifier() : algorithm_("") {}

CAlgorithmIdentifier::CAlgorithmIdentifier(const char* oid) : algorithm_(oid) {}

CAlgorithmIdentifier::CAlgorithmIdentifier(const CAlgorithmIdentifier& other) = default;

CAlgorithmIdentifier& CAlgorithmIdentifier::operator=(const CAlgorithmIdentifier& other) {
    if (this != &other)
        assign(other);
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

} // namespace Halcyon::ASN1
