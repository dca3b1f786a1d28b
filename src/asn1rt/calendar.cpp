// The table of month lengths.
#include <chronoseal/asn1rt/calendar.h>

unsigned char OS_daysInMonth[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

int rtDaysInMonth(int month, int year) {
    if (month < 1 || month > 12) {
        return 0;
    }
    const bool leap_day = month == 2 && rtIsLeapYear(year);
    return OS_daysInMonth[month - 1] + (leap_day ? 1 : 0);
}
