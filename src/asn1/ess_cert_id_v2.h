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
    explicit CESSCertIDv2(CBlob const& certHash);
    CESSCertIDv2(CBlob const& certHash, CAlgorithmIdentifier const& hashAlgorithm);
    CESSCertIDv2(CESSCertIDv2 const& other);
    CESSCertIDv2& operator=(CESSCertIDv2 const& other);
    ~CESSCertIDv2();

    CAlgorithmIdentifier const& get_hashAlgorithm() const noexcept;
    CBlob const& get_certHash() const noexcept;
    // Null if absent.
    CIssuerSerial const* get_issuerSerial() const noexcept;
    void put_hashAlgorithm(CAlgorithmIdentifier const& hashAlgorithm);
    void put_certHash(CBlob const& certHash);
    void put_issuerSerial(CIssuerSerial const* issuerSerial);

    // The DER. Throws as `CIssuerSerial` and `CAlgorithmIdentifier`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<ESSCertIDv2Block> block_;
};

// Algorithms with their parameters, hashes, then issuer and serial number.
bool operator==(CESSCertIDv2 const& a, CESSCertIDv2 const& b) noexcept;
inline bool operator!=(CESSCertIDv2 const& a, CESSCertIDv2 const& b) noexcept {
    return !(a == b);
}

class CESSCertIDv2List : public std::list<CESSCertIDv2> {
public:
    using std::list<CESSCertIDv2>::list;
};

} // namespace Halcyon::ASN1
