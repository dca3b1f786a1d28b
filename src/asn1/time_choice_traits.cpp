#include "asn1/time_choice_traits.h"

#include "asn1/failure.h"
#include "asn1/generalized_time.h"
#include "asn1rt/generalized_time_control.h"
#include "asn1rt/utc_time_control.h"

namespace Halcyon::ASN1 {

// Time ::= CHOICE {
//     utcTime      UTCTime,
//     generalTime  GeneralizedTime }

namespace {

// The date's text in the form of the control class, on the context's heap.
template <class Control>
const char* timeText(ASN1CTXT* ctxt, const CDateTime& date) {
    ASN1BEREncodeBuffer buffer;
    const char* local = nullptr;
    Control control(buffer, local, 1);
    const std::string text = GetASN1CTimeString(date, control);
    const char* result = nullptr;
    if (rtCopyCharStr(ctxt, text.c_str(), &result) == 0)
        failCodec();
    return result;
}

// A getter of the control class gives a negative status in the place of a field.
unsigned int field(int value) {
    if (value < 0)
        failCodec();
    return static_cast<unsigned int>(value);
}

template <class Control>
CDateTime timeFromText(const char* text) {
    ASN1BERDecodeBuffer buffer;
    Control control(buffer, text, 0);
    return CDateTime(field(control.getYear()), field(control.getMonth()), field(control.getDay()),
                     field(control.getHour()), field(control.getMinute()),
                     field(control.getSecond()), 0, 0);
}

} // namespace

void ASN1T_Time_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value) {
    if (value.get_type() == 1) {
        record.t = 1;
        record.u.utcTime = timeText<ASN1CUTCTime>(ctxt, *value.get_time());
    } else if (value.get_type() == 2) {
        record.t = 2;
        record.u.generalTime = timeText<ASN1CGeneralizedTime>(ctxt, *value.get_time());
    }
}

void ASN1T_Time_traits::get(const ASN1_T& record, CTimeChoice& value) {
    if (record.t == 1)
        value.put_time(timeFromText<ASN1CUTCTime>(record.u.utcTime));
    else if (record.t == 2)
        value.put_time(timeFromText<ASN1CGeneralizedTime>(record.u.generalTime));
    else
        failCodec();
}

void ASN1T_Time_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    asn1data::asn1Copy_Time(ctxt, &from, &to);
}

} // namespace Halcyon::ASN1
