// CAlgorithmIdentifierEx: an algorithm identifier with a place for the platform's number of it.
#pragma once

#include <chronoseal/asn1/algorithm_identifier.h>
#include <chronoseal/visibility.h>

namespace Halcyon::ASN1 {

// `cachedAlgId` belongs to whoever holds the object. It is set to 0 whenever the identifier's text
// becomes another one, so that it can't outlive the text that it was found for.
class CHRONOSEAL_API CAlgorithmIdentifierEx : public CAlgorithmIdentifier {
public:
    CAlgorithmIdentifierEx();
    explicit CAlgorithmIdentifierEx(const char* oid);
    explicit CAlgorithmIdentifierEx(const CAlgorithmIdentifier& other);
    CAlgorithmIdentifierEx(const CAlgorithmIdentifierEx& other);
    CAlgorithmIdentifierEx& operator=(const CAlgorithmIdentifierEx& other);
    ~CAlgorithmIdentifierEx() override;

    // Nothing at all happens if the text is the one held. The parameters stay in either case.
    void put_algorithm(const char* oid) override;

    unsigned int cachedAlgId;
};

} // namespace Halcyon::ASN1
