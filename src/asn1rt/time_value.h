// GeneralizedTime and UTCTime text to a broken-down record and back. Everything that is malformed
// or out of range gives -31, latched on the context. Texts of any length are read in one pass.
#pragma once

#include <chronoseal/visibility.h>

struct ASN1CTXT;

struct ASN1DateTime {
    short year; // in full, also from UTCTime
    short month;
    short day;
    short hour;
    short minute;
    short second;
    short diffHour; // offset from UTC; both parts negative for "-"
    short diffMinute;
    char fraction[21]; // the first 20 digits behind the point, or empty
    unsigned char utc; // 1: the text ended in "Z"
};

extern "C" {

// YYYYMMDDHH[MM[SS[.f...]]] with "Z", an offset of +HH or +HHMM, or neither (local time: offset 0
// and utc 0, and whatever follows is not looked at). After a failure the record is as it was.
CHRONOSEAL_API int rtParseGeneralizedTime(ASN1CTXT* ctxt, const char* text, ASN1DateTime* record);

// YYMMDDHHMM[SS] with the same zones. Years below 50 are in this century's first half, others in
// the century before.
CHRONOSEAL_API int rtParseUTCTime(ASN1CTXT* ctxt, const char* text, ASN1DateTime* record);

// Writes the record as GeneralizedTime. With `size` 0 `*text` gets a new text on the type heap (-12
// latched without memory); otherwise the text is copied to the array at `*text`, and -17 is latched
// if it doesn't fit with its terminator into `size` characters.
CHRONOSEAL_API int rtMakeGeneralizedTime(ASN1CTXT* ctxt, const ASN1DateTime* record, char** text,
                                         int size);

} // extern "C"
