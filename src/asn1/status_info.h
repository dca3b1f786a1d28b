// CPKIStatusInfo: the status of an answer, its texts and the bits that say why a request was
// refused (RFC 3161, 2.4.2).
#pragma once

#include <chronoseal/asn1/encodable.h>
#include <chronoseal/asn1/free_text.h>
#include <chronoseal/base/blob.h>

namespace Halcyon::ASN1 {

struct ASN1T_PKIFailureInfo_traits;
struct ASN1T_PKIStatusInfo_traits;

// A number outside of these is carried over as it is.
enum PKIStatusEnum : unsigned int {
    pkiStatusGranted = 0,
    pkiStatusGrantedWithMods = 1,
    pkiStatusRejection = 2,
    pkiStatusWaiting = 3,
    pkiStatusRevocationWarning = 4,
    pkiStatusRevocationNotification = 5,
};

// Bit n of the number, 1 << n, stands for bit n of the BIT STRING.
class CPKIFailureInfo : public Encodable<CPKIFailureInfo, ASN1T_PKIFailureInfo_traits> {
public:
    explicit CPKIFailureInfo(unsigned int value) noexcept : value_(value) {}

    unsigned int get_value() const noexcept { return value_; }
    void put_value(unsigned int value) noexcept { value_ = value; }
    // Throw CAtlException 0x80070057 for a bit number of 32 or more.
    bool get_bit(unsigned int n) const;
    void put_bit(unsigned int n, bool on);

    // The DER BIT STRING, without trailing zero bits.
    using Encodable::encode;
    // Throws 0x80093101, for a string of more than 32 bits too.
    using Encodable::decode;

private:
    unsigned int value_;
};

inline bool operator==(const CPKIFailureInfo& a, const CPKIFailureInfo& b) noexcept {
    return a.get_value() == b.get_value();
}

// Failure bits of 0 and an empty list of texts stand for absent fields.
class CPKIStatusInfo : public Encodable<CPKIStatusInfo, ASN1T_PKIStatusInfo_traits> {
public:
    explicit CPKIStatusInfo(PKIStatusEnum status) : pkiStatus_(status), failureInfo_(0) {}

    PKIStatusEnum get_pkiStatus() const noexcept { return pkiStatus_; }
    const CPKIFailureInfo& get_failureInfo() const noexcept { return failureInfo_; }
    const CPKIFreeText& get_statusString() const noexcept { return statusString_; }
    void put_pkiStatus(PKIStatusEnum status) noexcept { pkiStatus_ = status; }
    void put_failureInfo(const CPKIFailureInfo& info) noexcept { failureInfo_ = info; }
    void put_statusString(const CPKIFreeText& text) { statusString_ = text; }

    // An encoding without texts leaves the texts that the object held. Throws 0x80093101,
    // 0x8009310E for a text that isn't UTF-8, and 0x80070057 for a language mark without its end.
    using Encodable::decode;

private:
    PKIStatusEnum pkiStatus_;
    CPKIFailureInfo failureInfo_;
    CPKIFreeText statusString_;
};

} // namespace Halcyon::ASN1
