// CCertId: a certificate by its issuer and serial number (RFC 4211, 6.5).
#pragma once

#include "asn1/big_integer.h"
#include "asn1/general_name.h"

namespace Halcyon::ASN1 {

class CCertId {
public:
    CCertId() = default;
    CCertId(const CGeneralName& issuer, const CBigInteger& serialNumber);

    const CGeneralName& get_issuer() const noexcept { return issuer_; }
    const CBigInteger& get_serialNumber() const noexcept { return serialNumber_; }
    void put_issuer(const CGeneralName& issuer) { issuer_ = issuer; }
    void put_serialNumber(const CBigInteger& serialNumber) { serialNumber_ = serialNumber; }

private:
    CGeneralName issuer_;
    CBigInteger serialNumber_;
};

} // namespace Halcyon::ASN1
