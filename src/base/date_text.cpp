// The dateTime form of XML Schema, both ways.
#include <basalt/error_codes.h>
#include <chronoseal/base/date_text.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <new>
#include <string>

#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/broken_down_time.h>

namespace Halcyon {

namespace {

constexpr std::int32_t kBadDate = hr(kInvalidTimeText);

struct Zone {
    CDateTimeSpan offset;
    bool west = false; // the offset is added to reach UTC
};

// "+hh:mm" or "-hh:mm"; whatever follows the minutes isn't looked at.
Zone read_zone(const std::string& text) {
    char sign = 0;
    int hours = 0;
    int minutes = 0;
    if (std::sscanf(text.c_str(), "%c%2d:%2d", &sign, &hours, &minutes) != 3) {
        ATL::AtlThrowImpl(kBadDate);
    }
    Zone zone;
    zone.west = sign == '-';
    zone.offset = CDateTimeSpan::OneHour() * static_cast<unsigned int>(hours) +
                  CDateTimeSpan::OneMinute() * static_cast<unsigned int>(minutes);
    if (zone.offset > CDateTimeSpan::OneHour() * 14) {
        ATL::AtlThrowImpl(kBadDate);
    }
    return zone;
}

// Cuts the zone off `tail`, so that a fraction, a "Z" or nothing is left. A minus sign decides
// where both signs stand.
Zone take_zone(std::string& tail) {
    if (tail.find_first_of("Zz") != std::string::npos) {
        // An offset next to a "Z" isn't applied: without its colon it stays, for the reader of the
        // fraction to refuse.
        const auto colon = tail.rfind(':');
        if (colon != std::string::npos && colon + 3 == tail.size()) {
            tail.erase(colon, 1);
        }
        return {};
    }
    auto split = tail.find('-');
    if (split == std::string::npos) {
        split = tail.find('+');
    }
    if (split == std::string::npos) {
        return {};
    }
    const auto zone = read_zone(tail.substr(split));
    tail.erase(split);
    return zone;
}

CDateTime parse(const char* text) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::array<char, 32> rest{};
    // The width keeps a long tail inside the buffer.
    if (std::sscanf(text, "%4d-%2d-%2dT%2d:%2d:%2d%31s", &year, &month, &day, &hour, &minute,
                    &second, rest.data()) != 7) {
        ATL::AtlThrowImpl(kBadDate);
    }
    std::string tail(rest.data());
    const auto zone = take_zone(tail);
    std::array<char, 96> digits{};
    std::snprintf(digits.data(), digits.size(), "%04d%02d%02d%02d%02d%02d", year, month, day, hour,
                  minute, second);
    const CDateTime local((digits.data() + tail).c_str());
    return zone.west ? local + zone.offset : local - zone.offset;
}

} // namespace

CDateTime fromXsdDateTimeString(const char* text) {
    if (!text) {
        ATL::AtlThrowImpl(kBadDate);
    }
    try {
        return parse(text);
    } catch (const std::bad_alloc&) {
        ATL::AtlThrowImpl(hr(NTE_NO_MEMORY));
    }
}

CStringProxy toXsdDateTimeString(const CDateTime& date) {
    const auto tm = broken_down_time(date);
    std::array<char, 256> buffer{};
    if (std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S", &tm) == 0) {
        return {""};
    }
    std::string text(buffer.data());
    if (const auto millis = date.millisecond(); millis != 0) {
        std::snprintf(buffer.data(), buffer.size(), ".%03u", millis);
        text += buffer.data();
    }
    text += 'Z';
    return {text.c_str()};
}

} // namespace Halcyon
