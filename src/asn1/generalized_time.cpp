#include "asn1/generalized_time.h"

#include "asn1/heap_copy.h"

namespace Halcyon::ASN1 {

namespace {

constexpr std::uint32_t tagGeneralizedTime = 24;

CDateTime withoutFraction(const CDateTime& date) {
    return CDateTime(date.year(), date.month(), date.day(), date.hour(), date.minute(),
                     date.second(), 0, 0);
}

} // namespace

const char* DateToASN1GeneralizedTime(ASN1CTXT* ctxt, const CDateTime& date, bool noFraction) {
    const CDateTime written = noFraction ? withoutFraction(date) : date;
    return heapText(ctxt, written.getGeneralizedTime().c_str());
}

std::string GetASN1CTimeString(const CDateTime& date, ASN1CTime& control) {
    control.clear();
    if (control.setYear(static_cast<int>(date.year())) != 0 ||
        control.setMonth(static_cast<int>(date.month())) != 0 ||
        control.setDay(static_cast<int>(date.day())) != 0 ||
        control.setHour(static_cast<int>(date.hour())) != 0 ||
        control.setMinute(static_cast<int>(date.minute())) != 0 ||
        control.setSecond(static_cast<int>(date.second())) != 0)
        failCodec();
    const int length = control.getTimeStringLen();
    if (length <= 0)
        failCodec();
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    if (!control.getTimeString(text.data(), length + 1))
        failCodec();
    return text.c_str();
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
    return xe_charstr(buffer.getCtxtPtr(), record, 1, tagGeneralizedTime);
}

int ASN1GeneralizedTime_traits::decode(ASN1BERDecodeBuffer& buffer, ASN1_T& record) {
    try {
        buffer.init();
        return xd_charstr(buffer.getCtxtPtr(), &record, 1, tagGeneralizedTime, 0);
    } catch (const ASN1MessageBuffer::RTLError& error) {
        return error.getStatus();
    }
}

} // namespace Halcyon::ASN1
