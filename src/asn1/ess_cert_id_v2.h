// CESSCertIDv2: names a certificate by a hash of any algorithm (RFC 5035, 4).
#pragma once

#include <list>
#include <memory>

#include "asn1/algorithm_identifier.h"
#include "asn1/issuer_serial.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

struct ESSCertIDv2Block;

// The algorithm is SHA-256 (2.16.840.1.101.3.4.2.1) unless another is given. SHA-256 is the DEFAULT
// and is left out of the encoding, and with it whatever parameters it has. Owns all its data.
class CESSCertIDv2 {
public:
    CESSCertIDv2();
    explicit CESSCertIDv2(const CBlob& certHash);
    CESSCertIDv2(const CBlob& certHash, const CAlgorithmIdentifier& hashAlgorithm);
    CESSCertIDv2(const CESSCertIDv2& other);
    CESSCertIDv2& operator=(const CESSCertIDv2& other);
    ~CESSCertIDv2();

    const CAlgorithmIdentifier& get_hashAlgorithm() const noexcept;
    const CBlob& get_certHash() const noexcept;
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept;
    void put_hashAlgorithm(const CAlgorithmIdentifier& hashAlgorithm);
    void put_certHash(const CBlob& certHash);
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    // The DER. Throws as `CIssuerSerial` and `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<ESSCertIDv2Block> block_;
};

// Algorithms with their parameters, hashes, then issuer and serial number.
bool operator==(const CESSCertIDv2& a, const CESSCertIDv2& b) noexcept;
inline bool operator!=(const CESSCertIDv2& a, const CESSCertIDv2& b) noexcept {
    return !(a == b);
}

class CESSCertIDv2List : public std::list<CESSCertIDv2> {
public:
    using std::list<CESSCertIDv2>::list;
};

} // namespace Halcyon::ASN1
