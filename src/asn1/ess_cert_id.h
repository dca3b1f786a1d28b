// CESSCertID: names a certificate by its SHA-1 hash (RFC 2634, 5.4.1).
#pragma once

#include <list>
#include <memory>

#include "asn1/issuer_serial.h"
#include "base/blob.h"

namespace Halcyon::ASN1 {

struct ESSCertIDBlock;

// The hash is kept as given: it is neither computed nor checked. Owns all its data.
class CESSCertID {
public:
    CESSCertID();
    explicit CESSCertID(const CBlob& certHash);
    CESSCertID(const CESSCertID& other);
    CESSCertID& operator=(const CESSCertID& other);
    ~CESSCertID();

    const CBlob& get_certHash() const noexcept;
    // Null if absent.
    const CIssuerSerial* get_issuerSerial() const noexcept;
    void put_certHash(const CBlob& certHash);
    void put_issuerSerial(const CIssuerSerial* issuerSerial);

    // The DER. Throws as `CIssuerSerial`.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    std::unique_ptr<ESSCertIDBlock> block_;
};

// Hashes, then issuer and serial number: an identifier with them never equals one without.
bool operator==(const CESSCertID& a, const CESSCertID& b) noexcept;
inline bool operator!=(const CESSCertID& a, const CESSCertID& b) noexcept {
    return !(a == b);
}

class CESSCertIDList : public std::list<CESSCertID> {
public:
    using std::list<CESSCertID>::list;
};

} // namespace Halcyon::ASN1
