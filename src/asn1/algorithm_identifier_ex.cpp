#include "asn1/algorithm_identifier_ex.h"

#include <cstring>

namespace Halcyon::ASN1 {

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
    if (std::strcmp(oid ? oid : "", get_algorithm()) == 0)
        return;
    cachedAlgId = 0;
    CAlgorithmIdentifier::put_algorithm(oid);
}

} // namespace Halcyon::ASN1
