// GeneralizedTime's text out of the fields, and the fields out of the text.
#include <chronoseal/asn1rt/generalized_time_control.h>

#include <cstdio>
#include <cstdlib>

#include <chronoseal/asn1rt/status.h>

int ASN1CGeneralizedTime::setTime(long time, unsigned char diffTime) {
    return fill_from_time(time, diffTime);
}

int ASN1CGeneralizedTime::parseString(const char* text) {
    ASN1DateTime time;
    const int status = rtParseGeneralizedTime(getCtxtPtr(), text, &time);
    if (status == rtStatusOk) {
        load(time);
    }
    return status;
}

int ASN1CGeneralizedTime::compileString() {
    const bool in_utc = derRules || utc;
    Fields fields;
    if (!written_fields(in_utc, fields)) {
        return fail(rtStatusInvalidTime);
    }
    char made[64];
    int length = 0;
    const auto append = [&](const char* format, auto... values) {
        length += std::snprintf(made + length, sizeof made - static_cast<std::size_t>(length),
                                format, values...);
    };
    append("%.4d%.2d%.2d%.2d", fields.year, fields.month, fields.day, fields.hour);
    const bool with_second = derRules || fields.second != 0 || fields.fraction != 0;
    if (with_second || fields.minute != 0) {
        append("%.2d", fields.minute);
    }
    if (with_second) {
        append("%.2d", fields.second);
    }
    if (fields.fraction != 0) {
        // The fraction is kept as a number: zeros in front of its digits are lost, ".05" becomes
        // ".5".
        append(".%d", fields.fraction);
    }
    if (in_utc) {
        append("%s", "Z");
        return store_text(made);
    }
    // Also for an offset of 0, so that a local time is written as one of UTC when it's changed.
    append("%c%.2d", diffHour < 0 || diffMinute < 0 ? '-' : '+', std::abs(diffHour));
    if (diffMinute != 0) {
        append("%.2d", std::abs(diffMinute));
    }
    return store_text(made);
}

int ASN1CGeneralizedTime::getCentury() {
    const int value = getYear();
    return value < 0 ? value : value / 100;
}

int ASN1CGeneralizedTime::setCentury(int century) {
    const int status = ensure_parsed();
    if (status != rtStatusOk) {
        return status;
    }
    if (century < 0 || century >= 100) {
        return fail(rtStatusInvalidTime);
    }
    // In a time whose year isn't set yet, the century's first.
    return setYear(century * 100 + (year < 0 ? 0 : year % 100));
}
