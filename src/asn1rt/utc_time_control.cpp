// UTCTime's text out of the fields, and the fields out of the text.
#include <chronoseal/asn1rt/utc_time_control.h>

#include <cstdio>
#include <cstdlib>

#include <chronoseal/asn1rt/status.h>

namespace {

bool is_utc_time_year(int year) {
    return year >= 1950 && year <= 2049;
}

} // namespace

int ASN1CUTCTime::getFraction() {
    return 0;
}

int ASN1CUTCTime::setFraction(int) {
    return fail(rtStatusNotSupported);
}

int ASN1CUTCTime::setUTC(unsigned char value) {
    return ASN1CTime::setUTC(derRules ? 1 : value);
}

int ASN1CUTCTime::setYear(int value) {
    if (value >= 0 && value < 100) {
        value += value < 50 ? 2000 : 1900;
    }
    if (!is_utc_time_year(value)) {
        return fail(rtStatusInvalidTime);
    }
    return ASN1CTime::setYear(value);
}

int ASN1CUTCTime::setTime(long time, unsigned char diffTime) {
    return fill_from_time(time, diffTime);
}

int ASN1CUTCTime::parseString(const char* text) {
    ASN1DateTime time;
    const int status = rtParseUTCTime(getCtxtPtr(), text, &time);
    if (status == rtStatusOk) {
        load(time);
    }
    return status;
}

void ASN1CUTCTime::clear() {
    ASN1CTime::clear();
    utc = true;
}

int ASN1CUTCTime::compileString() {
    const bool in_utc = derRules || utc;
    Fields fields;
    if (!written_fields(in_utc, fields) || !is_utc_time_year(fields.year)) {
        return fail(rtStatusInvalidTime);
    }
    char made[32];
    const int length =
        std::snprintf(made, sizeof made, "%.2d%.2d%.2d%.2d%.2d%.2d", fields.year % 100,
                      fields.month, fields.day, fields.hour, fields.minute, fields.second);
    char* const zone = made + length;
    const std::size_t room = sizeof made - static_cast<std::size_t>(length);
    if (in_utc) {
        std::snprintf(zone, room, "Z");
    } else {
        std::snprintf(zone, room, "%c%.2d%.2d", diffHour < 0 || diffMinute < 0 ? '-' : '+',
                      std::abs(diffHour), std::abs(diffMinute));
    }
    return store_text(made);
}
