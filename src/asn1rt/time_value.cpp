// Time texts to records and back. The texts are read at the fixed places and by the number format
// of scanf, as callers have known it, but never behind their end.
#include <chronoseal/asn1rt/time_value.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <chronoseal/asn1rt/calendar.h>
#include <chronoseal/asn1rt/character_text.h>
#include <chronoseal/asn1rt/context.h>
#include <chronoseal/asn1rt/status.h>

namespace {

constexpr std::size_t kMaxFractionDigits = sizeof ASN1DateTime::fraction - 1;
constexpr int kMaxDiffHours = 12;

bool has_class(char c, unsigned char classes) {
    return (rtCtypeTable[static_cast<unsigned char>(c)] & classes) != 0;
}
bool is_digit(char c) {
    return has_class(c, rtCtypeDigit);
}

// Reads a terminated text at fixed places and one after the other; a place behind the end reads as
// the terminator.
class TimeText {
public:
    explicit TimeText(const char* text) : text_(text), length_(std::strlen(text)) {}

    char at(std::size_t place) const { return place < length_ ? text_[place] : '\0'; }
    char here() const { return at(place_); }
    std::size_t place() const { return place_; }
    void go_to(std::size_t place) { place_ = place; }
    void step() { ++place_; }

    // A number the way scanf's %Nd reads it: blanks in front don't count, a sign counts as one of
    // the `width` characters. False when there is no digit.
    bool number(int width, short& value) {
        while (has_class(here(), rtCtypeBlank)) {
            ++place_;
        }
        const bool negative = here() == '-';
        if (here() == '-' || here() == '+') {
            ++place_;
            --width;
        }
        int sum = 0;
        bool any = false;
        for (; width > 0 && is_digit(here()); --width, ++place_) {
            sum = sum * 10 + (here() - '0');
            any = true;
        }
        value = static_cast<short>(negative ? -sum : sum);
        return any;
    }

    // A number that must begin with a digit at `place`.
    bool number_at(std::size_t place, short& value) {
        place_ = place;
        return is_digit(here()) && number(2, value);
    }

private:
    const char* text_;
    std::size_t length_;
    std::size_t place_ = 0;
};

bool is_date(int year, int month, int day) {
    return year >= 0 && day >= 1 && day <= rtDaysInMonth(month, year);
}

// Digits behind a point or comma. What doesn't fit the record is stepped over.
bool read_fraction(TimeText& text, char* fraction) {
    text.step();
    if (!is_digit(text.here())) {
        return false;
    }
    for (std::size_t count = 0; is_digit(text.here()); text.step()) {
        if (count < kMaxFractionDigits) {
            fraction[count++] = text.here();
        }
    }
    return true;
}

// "Z" must be the last character. Behind an offset, and where neither stands, nothing is looked at:
// a local time with anything behind it is taken.
bool read_zone(TimeText& text, ASN1DateTime& time) {
    const char sign = text.here();
    text.step();
    if (sign == 'Z') {
        time.utc = 1;
        return text.here() == '\0';
    }
    if (sign != '+' && sign != '-') {
        return true;
    }
    if (!is_digit(text.here()) || !text.number(2, time.diffHour) || time.diffHour > kMaxDiffHours) {
        return false;
    }
    if (is_digit(text.here()) && (!text.number(2, time.diffMinute) || time.diffMinute > 59)) {
        return false;
    }
    if (sign == '-') {
        time.diffHour = static_cast<short>(-time.diffHour);
        time.diffMinute = static_cast<short>(-time.diffMinute);
    }
    return true;
}

bool read_generalized(TimeText text, ASN1DateTime& time) {
    if (!text.number(4, time.year) || !text.number(2, time.month) || !text.number(2, time.day) ||
        !is_date(time.year, time.month, time.day)) {
        return false;
    }
    // From here on the places are fixed, however many characters the date took.
    if (!text.number_at(8, time.hour) || time.hour > 23) {
        return false;
    }
    text.go_to(10);
    bool has_second = false;
    if (is_digit(text.here())) {
        text.number(2, time.minute);
        text.go_to(12);
        has_second = is_digit(text.here());
        if (has_second) {
            text.number(2, time.second);
            text.go_to(14);
        }
    }
    if (time.minute > 59 || time.second > 59) {
        return false;
    }
    if (text.here() == '.' || text.here() == ',') {
        if (!has_second || !read_fraction(text, time.fraction)) {
            return false;
        }
    }
    return read_zone(text, time);
}

bool read_utc_time(TimeText text, ASN1DateTime& time) {
    if (!text.number(2, time.year) || !text.number(2, time.month) || !text.number(2, time.day) ||
        time.year < 0) {
        return false;
    }
    time.year = static_cast<short>(time.year + (time.year < 50 ? 2000 : 1900));
    if (!is_date(time.year, time.month, time.day) || !text.number_at(6, time.hour) ||
        !text.number_at(8, time.minute)) {
        return false;
    }
    text.go_to(10);
    if (is_digit(text.here())) {
        text.number(2, time.second);
        text.go_to(12);
    }
    return time.hour < 24 && time.minute < 60 && time.second < 60 && read_zone(text, time);
}

int parse(ASN1CTXT* ctxt, const char* text, ASN1DateTime* record,
          bool (*read)(TimeText, ASN1DateTime&)) {
    ASN1DateTime time{};
    if (text == nullptr || record == nullptr || !read(TimeText(text), time)) {
        return ctxt != nullptr ? rtErrSetData(&ctxt->errInfo, rtStatusInvalidTime)
                               : rtStatusInvalidTime;
    }
    *record = time;
    return rtStatusOk;
}

} // namespace

int rtParseGeneralizedTime(ASN1CTXT* ctxt, const char* text, ASN1DateTime* record) {
    return parse(ctxt, text, record, read_generalized);
}

int rtParseUTCTime(ASN1CTXT* ctxt, const char* text, ASN1DateTime* record) {
    return parse(ctxt, text, record, read_utc_time);
}

int rtMakeGeneralizedTime(ASN1CTXT* ctxt, const ASN1DateTime* record, char** text, int size) {
    const ASN1DateTime& time = *record;
    if (time.year >= 10000 || time.day < 1 || time.day > rtDaysInMonth(time.month, time.year)) {
        return rtErrSetData(&ctxt->errInfo, rtStatusInvalidTime);
    }
    // Room for six numbers of a short's full width, the fraction and the zone.
    char made[96];
    int length = std::snprintf(made, sizeof made, "%.4d%.2d%.2d%.2d%.2d%.2d", time.year, time.month,
                               time.day, time.hour, time.minute, time.second);
    const auto append = [&](const char* format, auto... values) {
        length += std::snprintf(made + length, sizeof made - static_cast<std::size_t>(length),
                                format, values...);
    };
    if (time.fraction[0] != '\0') {
        append(".%.20s", time.fraction);
    }
    if (time.utc != 0) {
        append("%s", "Z");
    } else if (time.diffHour != 0 || time.diffMinute != 0) {
        const int leading = time.diffHour != 0 ? time.diffHour : time.diffMinute;
        append("%c%02d%02d", leading < 0 ? '-' : '+', std::abs(time.diffHour),
               std::abs(time.diffMinute));
    }
    if (size == 0) {
        *text = rtUTF8Strdup(ctxt, made);
        return *text != nullptr ? rtStatusOk : rtErrSetData(&ctxt->errInfo, rtStatusNoMemory);
    }
    if (length >= size) {
        return rtErrSetData(&ctxt->errInfo, rtStatusValueTooLong);
    }
    std::memcpy(*text, made, static_cast<std::size_t>(length) + 1);
    return rtStatusOk;
}
