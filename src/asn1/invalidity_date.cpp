#include "asn1/invalidity_date.h"

#include "asn1/codec.h"
#include "asn1/generalized_time.h"

namespace Halcyon::ASN1 {

namespace {

constexpr char oidInvalidityDate[] = "2.5.29.24";

} // namespace

CExtInvalidityDate::CExtInvalidityDate() : CExtValue(oidInvalidityDate), date_(0L, 0) {}

CExtInvalidityDate::CExtInvalidityDate(const CDateTime& date) : CExtInvalidityDate() {
    put_invalidityDate(date);
}

CExtInvalidityDate::CExtInvalidityDate(const CBlob& der)
    : CExtValue(oidInvalidityDate, der), date_(0L, 0) {
    decode();
}

// InvalidityDate ::= GeneralizedTime

void CExtInvalidityDate::encode() {
    value() = asn1Encode<ASN1GeneralizedTime_traits, CDateTime>(date_);
}

void CExtInvalidityDate::decode() {
    asn1Decode<ASN1GeneralizedTime_traits, CDateTime>(get_value(), date_);
}

void CExtInvalidityDate::put_invalidityDate(const CDateTime& date) {
    date_ = date;
    encode();
}

} // namespace Halcyon::ASN1
