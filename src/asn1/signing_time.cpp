#include "asn1/signing_time.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidSigningTime[] = "1.2.840.113549.1.9.5";

} // namespace

CAttrSigningTime::CAttrSigningTime(const CDateTime& time)
    : CAttrValue(oidSigningTime), time_(std::make_unique<CTimeChoice>()) {
    put_time(time);
}

CAttrSigningTime::CAttrSigningTime(const CBlob& der)
    : CAttrValue(oidSigningTime, der), time_(std::make_unique<CTimeChoice>()) {
    decode();
}

CAttrSigningTime::CAttrSigningTime(const CAttrSigningTime& other)
    : CAttrValue(other), time_(std::make_unique<CTimeChoice>(*other.time_)) {}

CAttrSigningTime& CAttrSigningTime::operator=(const CAttrSigningTime& other) {
    if (this != &other) {
        CAttrValue::operator=(other);
        *time_ = *other.time_;
    }
    return *this;
}

// SigningTime ::= Time

void CAttrSigningTime::encode() {
    value() = time_->encode();
}

void CAttrSigningTime::decode() {
    time_->decode(get_value());
}

CDateTime CAttrSigningTime::get_time() const {
    return *time_->get_time();
}

void CAttrSigningTime::put_time(const CDateTime& time) {
    time_->put_time(time);
    encode();
}

} // namespace Halcyon::ASN1
