#include "asn1/generalized_time.h"

#include "asn1/heap_copy.h"

namespace Halcyon::ASN1 {

namespace {

constexpr std::uint32_t tagGeneralizedTime = 24;

CDateTime withoutFraction(CDateTime const& date) {
    return CDateTime(date.year(), date.month(), date.day(), date.hour(), date.minute(),
                     date.second(), 0, 0);
}

} // namespace

char const* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, CDateTime const& date, bool noFraction) {
    CDateTime const written = noFraction ? withoutFraction(date) : date;
    return heapText(ctxt, written.getGeneralizedTime().c_str());
}

std::string GetASN1CTimeString(CDateTime const& date, ASN1CTime& control) {
    control.clear();
    if (control.setYear(static_cast<int>(date.year())) != 0 ||
        control.setMonth(static_cast<int>(date.month())) != 0 ||
        control.setDay(static_cast<int>(date.day())) != 0 ||
        control.setHour(static_cast<int>(date.hour())) != 0 ||
        control.setMinute(static_cast<int>(date.minute())) != 0 ||
        control.setSecond(static_cast<int>(date.second())) != 0)
        failCodec();
    int const length = control.getTimeStringLen();
    if (length <= 0)
        failCodec();
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    if (!control.getTimeString(text.data(), length + 1))
        failCodec();
    return text.c_str();
}

void ASN1GeneralizedTime_traits::set(ASN1CTXT* ctxt, ASN1_T& record, CDateTime const& value) {
    record = DateToASN1GeneralizedTime(ctxt, value, true);
}

void ASN1GeneralizedTime_traits::get(ASN1_T const& record, CDateTime& value) {
    value = CDateTime(record ? record : "");
}

void ASN1GeneralizedTime_traits::copy(ASN1CTXT* ctxt, ASN1_T const& from, ASN1_T& to) {
    to = DateToASN1GeneralizedTime(ctxt, CDateTime(from ? from : ""), true);
}

int ASN1GeneralizedTime_traits::encode(ASN1BEREncodeBuffer& buffer, ASN1_T& record) {
    buffer.init();
    return xe_charstr(buffer.getCtxtPtr(), record, 1, tagGeneralizedTime);
}

int ASN1GeneralizedTime_traits::decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record) {
    try {
        buffer.init();
        return xd_charstr(buffer.getCtxtPtr(), &record, 1, tagGeneralizedTime, 0);
    } catch (ASN1MessageBuffer::RTLError const& error) {
        return error.getStatus();
    }
}

} // namespace Halcyon::ASN1
