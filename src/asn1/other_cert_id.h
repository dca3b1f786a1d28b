// COtherCertID: names a certificate by a hash of any algorithm (RFC 5126, 5.7.3.3).
#pragma once

#include <list>
#include <memory>

#include "asn1/issuer_serial.h"
#include "asn1/other_hash.h"

namespace Halcyon::ASN1 {

struct OtherCertIDBlock;

// Owns all its data.
class COtherCertID {
public:
    COtherCertID();
    // A hash of kind 1.
    explicit COtherCertID(const CBlob& sha1);
    // A hash of kind 2.
    COtherCertID(const CBlob& hash, const CAlgorithmIdentifier& algorithm);
    COtherCertID(const COtherCertID& other);
    COtherCertID& operator=(const COtherCertID& other);
    ~COtherCertID();

    const COtherHash& get_otherCertHash() const noexcept;
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept;
    void put_otherCertHash(const COtherHash& hash);
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    // As `operator==`, but without regard to the algorithms of the hashes.
    bool compare_noHashParam(const COtherCertID& other) const noexcept;

    // The DER. Throws 0x80093101, without a hash too, and as `CIssuerSerial`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<OtherCertIDBlock> block_;
};

// Hashes with their kinds and algorithms, then issuer and serial number.
bool operator==(const COtherCertID& a, const COtherCertID& b) noexcept;
inline bool operator!=(const COtherCertID& a, const COtherCertID& b) noexcept {
    return !(a == b);
}

class COtherCertIDList : public std::list<COtherCertID> {
public:
    using std::list<COtherCertID>::list;
};

} // namespace Halcyon::ASN1
