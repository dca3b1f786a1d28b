#include "asn1/private_key_usage_period.h"

#include "asn1/codec.h"
#include "asn1/generalized_time.h"
#include "asn1/optional_owner.h"
#include "asn1/private_key_usage_period_traits.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidPrivateKeyUsagePeriod[] = "2.5.29.16";

} // namespace

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CDateTime* notBefore,
                                                     const CDateTime* notAfter)
    : CExtValue(oidPrivateKeyUsagePeriod) {
    copy_to_auto_ptr(notBefore_, notBefore);
    copy_to_auto_ptr(notAfter_, notAfter);
    encode();
}

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CBlob& der)
    : CExtValue(oidPrivateKeyUsagePeriod, der) {
    decode();
}

CExtPrivateKeyUsagePeriod::CExtPrivateKeyUsagePeriod(const CExtPrivateKeyUsagePeriod& other)
    : CExtValue(other) {
    copy_to_auto_ptr(notBefore_, other.notBefore_.get());
    copy_to_auto_ptr(notAfter_, other.notAfter_.get());
}

CExtPrivateKeyUsagePeriod&
CExtPrivateKeyUsagePeriod::operator=(const CExtPrivateKeyUsagePeriod& other) {
    if (this != &other) {
        CExtValue::operator=(other);
        copy_to_auto_ptr(notBefore_, other.notBefore_.get());
        copy_to_auto_ptr(notAfter_, other.notAfter_.get());
    }
    return *this;
}

void CExtPrivateKeyUsagePeriod::encode() {
    value() = asn1Encode<ASN1T_PrivateKeyUsagePeriod_traits, CExtPrivateKeyUsagePeriod>(*this);
}

void CExtPrivateKeyUsagePeriod::decode() {
    asn1Decode<ASN1T_PrivateKeyUsagePeriod_traits, CExtPrivateKeyUsagePeriod>(get_value(), *this);
}

void CExtPrivateKeyUsagePeriod::put_notBefore(const CDateTime* date) {
    copy_to_auto_ptr(notBefore_, date);
    encode();
}

void CExtPrivateKeyUsagePeriod::put_notAfter(const CDateTime* date) {
    copy_to_auto_ptr(notAfter_, date);
    encode();
}

// PrivateKeyUsagePeriod ::= SEQUENCE {
//     notBefore  [0] IMPLICIT GeneralizedTime OPTIONAL,
//     notAfter   [1] IMPLICIT GeneralizedTime OPTIONAL }

void ASN1T_PrivateKeyUsagePeriod_traits::set(ASN1CTXT* ctxt, ASN1_T& record,
                                             const CExtPrivateKeyUsagePeriod& value) {
    record.m = {};
    if (const CDateTime* const date = value.get_notBefore()) {
        record.m.notBeforePresent = 1;
        ASN1GeneralizedTime_traits::set(ctxt, record.notBefore, *date);
    }
    if (const CDateTime* const date = value.get_notAfter()) {
        record.m.notAfterPresent = 1;
        ASN1GeneralizedTime_traits::set(ctxt, record.notAfter, *date);
    }
}

// The value's encoded form stays as it is: it is what the record was read from.
void ASN1T_PrivateKeyUsagePeriod_traits::get(const ASN1_T& record,
                                             CExtPrivateKeyUsagePeriod& value) {
    CDateTime date(0L, 0);
    if (record.m.notBeforePresent)
        ASN1GeneralizedTime_traits::get(record.notBefore, date);
    copy_to_auto_ptr(value.notBefore_, record.m.notBeforePresent ? &date : nullptr);
    if (record.m.notAfterPresent)
        ASN1GeneralizedTime_traits::get(record.notAfter, date);
    copy_to_auto_ptr(value.notAfter_, record.m.notAfterPresent ? &date : nullptr);
}

void ASN1T_PrivateKeyUsagePeriod_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_PrivateKeyUsagePeriod(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
