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
    explicit COtherCertID(CBlob const& sha1);
    // A hash of kind 2.
    COtherCertID(CBlob const& hash, CAlgorithmIdentifier const& algorithm);
    COtherCertID(COtherCertID const& other);
    COtherCertID& operator=(COtherCertID const& other);
    ~COtherCertID();

    COtherHash const& get_otherCertHash() const noexcept;
    // Null if absent.
    CIssuerSerial const* get_issuerSerial() const noexcept;
    void put_otherCertHash(COtherHash const& hash);
    void put_issuerSerial(CIssuerSerial const* issuerSerial);

    // As `operator==`, but without regard to the algorithms of the hashes.
    bool compare_noHashParam(COtherCertID const& other) const noexcept;

    // The DER. Throws 0x80093101, without a hash too, and as `CIssuerSerial`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<OtherCertIDBlock> block_;
};

// Hashes with their kinds and algorithms, then issuer and serial number.
bool operator==(COtherCertID const& a, COtherCertID const& b) noexcept;
inline bool operator!=(COtherCertID const& a, COtherCertID const& b) noexcept {
    return !(a == b);
}

class COtherCertIDList : public std::list<COtherCertID> {
public:
    using std::list<COtherCertID>::list;
};

} // namespace Halcyon::ASN1
