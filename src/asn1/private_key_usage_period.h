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
    CExtPrivateKeyUsagePeriod(CDateTime const* notBefore, CDateTime const* notAfter);
    // Throws 0x80093101 if `der` isn't such a period.
    explicit CExtPrivateKeyUsagePeriod(CBlob const& der);
    CExtPrivateKeyUsagePeriod(CExtPrivateKeyUsagePeriod const& other);
    CExtPrivateKeyUsagePeriod& operator=(CExtPrivateKeyUsagePeriod const& other);

    void encode();
    void decode();

    CDateTime const* get_notBefore() const noexcept { return notBefore_.get(); }
    CDateTime const* get_notAfter() const noexcept { return notAfter_.get(); }
    // Null makes the date absent. Both encode at once.
    void put_notBefore(CDateTime const* date);
    void put_notAfter(CDateTime const* date);

private:
    friend struct ASN1T_PrivateKeyUsagePeriod_traits;

    std::unique_ptr<CDateTime> notBefore_;
    std::unique_ptr<CDateTime> notAfter_;
};

} // namespace Halcyon::ASN1
