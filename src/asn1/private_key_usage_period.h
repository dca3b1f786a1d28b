// CExtPrivateKeyUsagePeriod: the extension privateKeyUsagePeriod (RFC 3280, 4.2.1.4).
#pragma once

#include <memory>

#include "asn1/ext_value.h"
#include "base/date_time.h"

namespace Halcyon::ASN1 {

// The two dates, null when absent, beside the encoded form of the base, in which fractions of a
// second are cut off. The type is 2.5.29.16.
class CExtPrivateKeyUsagePeriod : public CExtValue {
public:
    CExtPrivateKeyUsagePeriod(const CDateTime* notBefore, const CDateTime* notAfter);
    // Throws 0x80093101 if `der` isn't such a period.
    explicit CExtPrivateKeyUsagePeriod(const CBlob& der);
    CExtPrivateKeyUsagePeriod(const CExtPrivateKeyUsagePeriod& other);
    CExtPrivateKeyUsagePeriod& operator=(const CExtPrivateKeyUsagePeriod& other);

    void encode();
    void decode();

    const CDateTime* get_notBefore() const noexcept { return notBefore_.get(); }
    const CDateTime* get_notAfter() const noexcept { return notAfter_.get(); }
    // Null makes the date absent. Both encode at once.
    void put_notBefore(const CDateTime* date);
    void put_notAfter(const CDateTime* date);

private:
    friend struct ASN1T_PrivateKeyUsagePeriod_traits;

    std::unique_ptr<CDateTime> notBefore_;
    std::unique_ptr<CDateTime> notAfter_;
};

} // namespace Halcyon::ASN1
