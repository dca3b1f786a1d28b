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
    explicit CESSCertID(CBlob const& certHash);
    CESSCertID(CESSCertID const& other);
    CESSCertID& operator=(CESSCertID const& other);
    ~CESSCertID();

    CBlob const& get_certHash() const noexcept;
    // Null if absent.
    CIssuerSerial const* get_issuerSerial() const noexcept;
    void put_certHash(CBlob const& certHash);
    void put_issuerSerial(CIssuerSerial const* issuerSerial);

    // The DER. Throws as `CIssuerSerial`.
    CBlob encode() const;
    void decode(CBlob const& der);

private:
    std::unique_ptr<ESSCertIDBlock> block_;
};

// Hashes, then issuer and serial number: an identifier with them never equals one without.
bool operator==(CESSCertID const& a, CESSCertID const& b) noexcept;
inline bool operator!=(CESSCertID const& a, CESSCertID const& b) noexcept {
    return !(a == b);
}

class CESSCertIDList : public std::list<CESSCertID> {
public:
    using std::list<CESSCertID>::list;
};

} // namespace Halcyon::ASN1
