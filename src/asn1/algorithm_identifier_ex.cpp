#include "asn1/algorithm_identifier_ex.h"

#include <cstring>

namespace Halcyon::ASN1 {

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx() : cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(char const* oid)
    : CAlgorithmIdentifier(oid), cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(CAlgorithmIdentifier const& other)
    : CAlgorithmIdentifier(other), cachedAlgId(0) {}

CAlgorithmIdentifierEx::CAlgorithmIdentifierEx(CAlgorithmIdentifierEx const& other) = default;

CAlgorithmIdentifierEx&
CAlgorithmIdentifierEx::operator=(CAlgorithmIdentifierEx const& other) = default;

CAlgorithmIdentifierEx::~CAlgorithmIdentifierEx() = default;

void CAlgorithmIdentifierEx::put_algorithm(char const* oid) {
    if (std::strcmp(oid ? oid : "", get_algorithm()) == 0)
        return;
    cachedAlgId = 0;
    CAlgorithmIdentifier::put_algorithm(oid);
}

} // namespace Halcyon::ASN1
