// The days of the months in a common year, as one table for all who check or count dates.
#pragma once

#include <chronoseal/visibility.h>

// Index 0 is January; February has 28. It stands in writable data, and nothing writes it.
extern "C" CHRONOSEAL_API unsigned char OS_daysInMonth[12];

// Leap years by the Gregorian rule, for any year, before its introduction too.
constexpr bool rtIsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days of `month` (1 to 12) in `year`; 0 for any other month.
int rtDaysInMonth(int month, int year);
