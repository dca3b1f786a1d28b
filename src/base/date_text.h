// Calendar-aware addition to a date, and the dateTime form of XML Schema (Datatypes,
// 3.2.7). Failures are thrown as CAtlException.
#pragma once

#include <chronoseal/base/date_time.h>
#include <chronoseal/base/string_proxy.h>
#include <chronoseal/visibility.h>

namespace Halcyon {

// The date moved by `count` units; only the first letter of `interval` counts, in lower case: s
// second, n minute, h hour, d day (so does the empty text), w week, m calendar month, y calendar
// year. A month move keeps the time of day and clamps the day to the end of the target month; all
// others are in absolute time. Throws 0x80070057 for a null or unknown interval, 0x80004005 for a
// result before 1601, the platform's code for a month move out of the calendar.
CHRONOSEAL_API CDateTime DateAddA(const char* interval, int count, const CDateTime& date);
// The same for a wide interval.
CHRONOSEAL_API CDateTime DateAddW(const wchar_t* interval, int count, const CDateTime& date);

// Reads YYYY-MM-DDThh:mm:ss with a mandatory tail: a fraction, "Z", an offset of at most 14 hours,
// or these together. Without an offset the text is UTC. Throws 0x8007076D for a bad text,
// 0x80004005 for a result before 1601.
CHRONOSEAL_API CDateTime fromXsdDateTimeString(const char* text);
// YYYY-MM-DDThh:mm:ss, milliseconds if there are any, "Z".
CHRONOSEAL_API CStringProxy toXsdDateTimeString(const CDateTime& date);

} // namespace Halcyon
