// The text forms of CDateTime.
#include <array>
#include <basalt/error_codes.h>
#include <cstdio>
#include <cwchar>
#include <string>

#include <basalt/time_conversion.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/broken_down_time.h>
#include <chronoseal/base/date_time.h>

namespace Halcyon {

namespace {

constexpr std::size_t kTextRoom = 256;

std::string formatted(const std::tm& tm, const char* format) {
    std::array<char, kTextRoom> buffer{};
    if (std::strftime(buffer.data(), buffer.size(), format, &tm) == 0) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    return buffer.data();
}

// Nothing, ".mmm" or ".mmmuuu".
std::string shortest_fraction(const CDateTime& date) {
    const auto millis = date.millisecond();
    const auto micros = date.microsecond();
    std::array<char, 16> buffer{};
    if (micros != 0) {
        std::snprintf(buffer.data(), buffer.size(), ".%03u%03u", millis, micros);
    } else if (millis != 0) {
        std::snprintf(buffer.data(), buffer.size(), ".%03u", millis);
    }
    return buffer.data();
}

} // namespace

std::tm broken_down_time(const CDateTime& date) {
    const FILETIME time = date.getFileTime();
    SYSTEMTIME fields{};
    if (!FileTimeToSystemTime(&time, &fields)) {
        throw;
    }
    std::tm tm{};
    tm.tm_year = fields.wYear - 1900;
    tm.tm_mon = fields.wMonth - 1;
    tm.tm_mday = fields.wDay;
    tm.tm_hour = fields.wHour;
    tm.tm_min = fields.wMinute;
    tm.tm_sec = fields.wSecond;
    tm.tm_wday = fields.wDayOfWeek;
    return tm;
}

CStringProxy CDateTime::getGeneralizedTime() const {
    const auto tm = broken_down_time(*this);
    std::array<char, 96> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04d%02d%02d%02d%02d%02d", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    std::string text(buffer.data());
    const unsigned int micros = millisecond() * 1000 + microsecond();
    if (micros != 0) {
        std::snprintf(buffer.data(), buffer.size(), ".%06u", micros);
        text += buffer.data();
        text.erase(text.find_last_not_of('0') + 1);
    }
    text += 'Z';
    return {text.c_str()};
}

CStringProxy CDateTime::getGeneralizedTimeTrimMicroseconds() const {
    return {formatted(broken_down_time(*this), "%d.%m.%Y %X").c_str()};
}

CStringProxy CDateTime::tostring() const {
    const auto text = formatted(broken_down_time(*this), "%d.%m.%Y %H:%M:%S");
    return {(text + shortest_fraction(*this)).c_str()};
}

CWStringProxy CDateTime::towstring() const {
    const auto tm = broken_down_time(*this);
    std::array<wchar_t, kTextRoom> buffer{};
    if (std::wcsftime(buffer.data(), buffer.size(), L"%d.%m.%Y %H:%M:%S", &tm) == 0) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    std::wstring text(buffer.data());
    for (const char c : shortest_fraction(*this)) {
        text += static_cast<wchar_t>(c);
    }
    return {text.c_str()};
}

} // namespace Halcyon
