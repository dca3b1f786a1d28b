// CIssuerSerial: a certificate's issuer and serial number (RFC 2634, 5.4.1).
#pragma once

#include "asn1/big_integer.h"
#include "asn1/general_names.h"

namespace Halcyon::ASN1 {

// Owns all its data.
class CIssuerSerial {
public:
    CIssuerSerial() = default;
    CIssuerSerial(const CGeneralNames& issuer, const CBigInteger& serialNumber);

    const CGeneralNames& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    void put_issuer(const CGeneralNames& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serialNumber) { serialNumber_ = serialNumber; }

    // The DER. Throws 0x80093101, and 0x80070057 for a name of a kind that isn't supported.
    CBlob encode() const;
    void decode(const CBlob& der);

private:
    CGeneralNames issuer_;
    CBigInteger serialNumber_;
};

// The issuers' names pairwise in order by the rules of CGeneralName, the serial numbers by value.
bool operator==(const CIssuerSerial& a, const CIssuerSerial& b) noexcept;
inline bool operator!=(const CIssuerSerial& a, const CIssuerSerial& b) noexcept {
    return !(a == b);
}

} // namespace Halcyon::ASN1
