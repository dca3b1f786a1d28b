// CExtCRLReason: the CRL entry extension reasonCode (RFC 5280, 5.3.1).
#pragma once

#include "asn1/ext_value.h"

namespace Halcyon::ASN1 {

enum CrlReason : unsigned int {
    crlReasonUnspecified = 0,
    crlReasonKeyCompromise = 1,
    crlReasonCACompromise = 2,
    crlReasonAffiliationChanged = 3,
    crlReasonSuperseded = 4,
    crlReasonCessationOfOperation = 5,
    crlReasonCertificateHold = 6,
    crlReasonRemoveFromCRL = 8,
    crlReasonPrivilegeWithdrawn = 9,
    crlReasonAACompromise = 10,
};

// The decoded form beside the encoded one of the base. The type is 2.5.29.21.
class CExtCRLReason : public CExtValue {
public:
    // Reason 0 and no encoded form.
    CExtCRLReason();
    // Throws 0x80093101 for a number above 10.
    explicit CExtCRLReason(CrlReason reason);
    // Throws 0x80093101 if `der` isn't a reason.
    explicit CExtCRLReason(const CBlob& der);

    // The encoded form from the reason, and the reason from the encoded form. Throw 0x80093101.
    void encode();
    void decode();

    CrlReason get_reason() const noexcept { return reason_; }
    // Encodes at once.
    void put_reason(CrlReason reason);

private:
    CrlReason reason_ = crlReasonUnspecified;
};

} // namespace Halcyon::ASN1
