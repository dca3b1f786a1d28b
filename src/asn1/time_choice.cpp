#include <chronoseal/asn1/time_choice.h>

#include <chronoseal/asn1/encodable_definitions.h>
#include <chronoseal/asn1/heap_copy.h>
#include <chronoseal/asn1/time_choice_traits.h>
#include <chronoseal/asn1rt/generalized_time_control.h>
#include <chronoseal/asn1rt/utc_time_control.h>

#include <cstring>

namespace Halcyon::ASN1 {

const CDateTime* CTimeChoice::get_time() const noexcept {
    const CDateTime* const utc_time = get(kUtcTime);
    return utc_time ? utc_time : get(kGeneralTime);
}

void CTimeChoice::put_time(const CDateTime& date) {
    if (date.year() > 2049) {
        put(kGeneralTime, date);
    } else {
        put(kUtcTime, date);
    }
}

template class Encodable<CTimeChoice, ASN1T_Time_traits>;

namespace {

constexpr std::uint32_t kTagGeneralizedTime = 24;

CDateTime without_fraction(const CDateTime& date) {
    return CDateTime(date.year(), date.month(), date.day(), date.hour(), date.minute(),
                     date.second(), 0, 0);
}

} // namespace

const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& date, bool noFraction) {
    const CDateTime written = noFraction ? without_fraction(date) : date;
    return heap_text(ctxt, written.getGeneralizedTime().c_str());
}

std::string GetASN1CTimeString(const CDateTime& date, ASN1CTime& control) {
    control.clear();
    if (control.setYear(static_cast<int>(date.year())) != 0 ||
        control.setMonth(static_cast<int>(date.month())) != 0 ||
        control.setDay(static_cast<int>(date.day())) != 0 ||
        control.setHour(static_cast<int>(date.hour())) != 0 ||
        control.setMinute(static_cast<int>(date.minute())) != 0 ||
        control.setSecond(static_cast<int>(date.second())) != 0) {
        fail_codec();
    }
    const int length = control.getTimeStringLen();
    if (length <= 0) {
        fail_codec();
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    if (!control.getTimeString(text.data(), length + 1)) {
        fail_codec();
    }
    text.resize(std::strlen(text.c_str()));
    return text;
}

void ASN1GeneralizedTime_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CDateTime& value) {
    record = DateToASN1GeneralizedTime(ctxt, value, true);
}

void ASN1GeneralizedTime_traits::get(const ASN1_T& record, CDateTime& value) {
    value = CDateTime(record ? record : "");
}

void ASN1GeneralizedTime_traits::copy(ASN1CTXT* ctxt, const ASN1_T& from, ASN1_T& to) {
    to = DateToASN1GeneralizedTime(ctxt, CDateTime(from ? from : ""), true);
}

int ASN1GeneralizedTime_traits::encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record) {
    buffer.init();
    return xe_charstr(buffer.getCtxtPtr(), record, 1, kTagGeneralizedTime);
}

int ASN1GeneralizedTime_traits::decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record) {
    try {
        buffer.init();
        return xd_charstr(buffer.getCtxtPtr(), &record, 1, kTagGeneralizedTime, 0);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.getStatus();
    }
}

// Time ::= CHOICE {
//     utc_time      UTCTime,
//     generalTime  GeneralizedTime }

namespace {

// The date's text in the form of the control class, on the context's heap.
template <class Control>
const char* time_text(ASN1CTXT* ctxt, const CDateTime& date) {
    ASN1BEREncodeBuffer buffer;
    const char* local = nullptr;
    Control control(buffer, local, 1);
    const std::string text = GetASN1CTimeString(date, control);
    const char* result = nullptr;
    if (rtCopyCharStr(ctxt, text.c_str(), &result) == 0) {
        fail_codec();
    }
    return result;
}

// A getter of the control class gives a negative status in the place of a field.
unsigned int field(int value) {
    if (value < 0) {
        fail_codec();
    }
    return static_cast<unsigned int>(value);
}

template <class Control>
CDateTime time_from_text(const char* text) {
    ASN1BERDecodeBuffer buffer;
    Control control(buffer, text, 0);
    const unsigned int year = field(control.getYear());
    const unsigned int month = field(control.getMonth());
    const unsigned int day = field(control.getDay());
    const unsigned int hour = field(control.getHour());
    const unsigned int minute = field(control.getMinute());
    const unsigned int second = field(control.getSecond());
    try {
        return CDateTime(year, month, day, hour, minute, second, 0, 0);
    } catch (const ATL::CAtlException&) {
        // A year before the platform's calendar.
        fail_codec();
    }
}

} // namespace

void ASN1T_Time_traits::set(ASN1CTXT* ctxt, ASN1_T& record, const CTimeChoice& value) {
    if (value.get_type() == kUtcTime.kind) {
        record.t = kUtcTime.kind;
        record.u.utcTime = time_text<ASN1CUTCTime>(ctxt, *value.get_time());
    } else if (value.get_type() == kGeneralTime.kind) {
        record.t = kGeneralTime.kind;
        record.u.generalTime = time_text<ASN1CGeneralizedTime>(ctxt, *value.get_time());
    }
}

void ASN1T_Time_traits::get(const ASN1_T& record, CTimeChoice& value) {
    if (record.t == kUtcTime.kind) {
        value.put_time(time_from_text<ASN1CUTCTime>(record.u.utcTime));
    } else if (record.t == kGeneralTime.kind) {
        value.put_time(time_from_text<ASN1CGeneralizedTime>(record.u.generalTime));
    } else {
        fail_codec();
    }
}

} // namespace Halcyon::ASN1
