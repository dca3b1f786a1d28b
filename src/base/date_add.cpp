// Calendar-aware addition to a date.
#include <array>
#include <basalt/error_codes.h>
#include <cstdint>
#include <cstdlib>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/date_text.h>

namespace Halcyon {

namespace {

bool is_leap(int year) {
    return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

int last_day_of(int year, int month) {
    // By month; entry 0 stands for none.
    static constexpr std::array<std::uint32_t, 13> maxDaysNonLeap{0,  31, 28, 31, 30, 31, 30,
                                                                  31, 31, 30, 31, 30, 31};
    static constexpr std::array<std::uint32_t, 13> maxDaysLeap{0,  31, 29, 31, 30, 31, 30,
                                                               31, 31, 30, 31, 30, 31};
    const auto& table = is_leap(year) ? maxDaysLeap : maxDaysNonLeap;
    return static_cast<int>(table[static_cast<std::size_t>(month)]);
}

CDateTime DateAddMonth(int months, const CDateTime& date) {
    SYSTEMTIME time = date.getSystemTime();
    int year = time.wYear + months / 12;
    int month = time.wMonth + months % 12;
    if (month < 1) {
        month += 12;
        --year;
    } else if (month > 12) {
        month -= 12;
        ++year;
    }
    const int last_day = last_day_of(year, month);
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDayOfWeek = 0;
    if (time.wDay > last_day) {
        time.wDay = static_cast<WORD>(last_day);
    }
    return CDateTime::from_ticks(CDateTime(time).ticks() + date.microsecond() * 10u);
}

CDateTimeSpan unit_of(char letter) {
    switch (letter) {
    case 's':
        return CDateTimeSpan::OneSecond();
    case 'n':
        return CDateTimeSpan::OneMinute();
    case 'h':
        return CDateTimeSpan::OneHour();
    case 'd':
    case '\0':
        return CDateTimeSpan::OneDay();
    case 'w':
        return CDateTimeSpan::OneDay() * 7;
    default:
        ATL::AtlThrowImpl(hr(E_INVALIDARG));
    }
}

} // namespace

CDateTime DateAddA(const char* interval, int count, const CDateTime& date) {
    if (!interval) {
        ATL::AtlThrowImpl(hr(E_INVALIDARG));
    }
    if (*interval == 'm') {
        return DateAddMonth(count, date);
    }
    if (*interval == 'y') {
        // In 32 bits, and so wrapping.
        const auto months = static_cast<std::uint32_t>(count) * 12u;
        return DateAddMonth(static_cast<std::int32_t>(months), date);
    }
    const auto magnitude =
        count < 0 ? 0u - static_cast<unsigned int>(count) : static_cast<unsigned int>(count);
    const auto distance = unit_of(*interval) * magnitude;
    return count >= 1 ? date + distance : date - distance;
}

CDateTime DateAddW(const wchar_t* interval, int count, const CDateTime& date) {
    // There is no character to look at behind a null pointer: it is refused as by the narrow form.
    if (!interval) {
        ATL::AtlThrowImpl(hr(E_INVALIDARG));
    }
    const wchar_t letter = *interval;
    const bool narrow = letter >= 0 && letter < 0x80;
    const char text[] = {narrow ? static_cast<char>(letter) : '?', '\0'};
    return DateAddA(text, count, date);
}

} // namespace Halcyon
