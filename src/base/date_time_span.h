// CDateTimeSpan: a length of time in ticks of 100 nanoseconds. It is never negative: a subtraction
// that would go below zero throws CAtlException 0x80004005.
#pragma once

#include <cstdint>

#include <chronoseal/base/string_proxy.h>
#include <chronoseal/visibility.h>

namespace Halcyon {

// A plain value of eight bytes, the high half first. One thread at a time.
class CHRONOSEAL_API CDateTimeSpan {
public:
    constexpr CDateTimeSpan() noexcept = default;
    // The seconds count in 64 bits; microseconds * 10 is taken in 32 bits and so wraps from
    // 429496730 on.
    constexpr CDateTimeSpan(unsigned int seconds, unsigned int microseconds) noexcept
        : CDateTimeSpan(from_ticks(std::uint64_t{seconds} * 10000000u + microseconds * 10u)) {}
    // The fixed-width form YYYYMMDDhhmmss with an optional fraction, all fields being lengths; a
    // month counts as 30 days and a year as 365. Throws 0x8007076D for a character that is no
    // digit.
    explicit CDateTimeSpan(const char* generalizedText);

    void swap(CDateTimeSpan& other) noexcept;
    constexpr std::uint32_t getLowPart() const noexcept { return dwLowDateTime_; }
    constexpr std::uint32_t getHighPart() const noexcept { return dwHighDateTime_; }

    // Years, months, days, hours, minutes and seconds at fixed width, a point and microseconds,
    // less all zeros at the end, those of the whole part included, and "Z". Ten seconds give
    // 0000000000001Z, and no time gives Z: such a text doesn't read back.
    CStringProxy getGeneralizedTime() const;
    CStringProxy tostring() const;
    CWStringProxy towstring() const;

    // 365 days; 30 days.
    static const CDateTimeSpan& OneYear() noexcept { return oneYear; }
    static const CDateTimeSpan& OneMonth() noexcept { return oneMonth; }
    static const CDateTimeSpan& OneDay() noexcept { return oneDay; }
    static const CDateTimeSpan& OneHour() noexcept { return oneHour; }
    static const CDateTimeSpan& OneMinute() noexcept { return oneMinute; }
    static const CDateTimeSpan& OneSecond() noexcept { return oneSecond; }
    static const CDateTimeSpan& OneMillisecond() noexcept { return oneMillisecond; }

    // The tick count as one number.
    constexpr std::uint64_t ticks() const noexcept {
        return (std::uint64_t{dwHighDateTime_} << 32) | dwLowDateTime_;
    }
    static constexpr CDateTimeSpan from_ticks(std::uint64_t ticks) noexcept {
        CDateTimeSpan span;
        span.dwHighDateTime_ = static_cast<std::uint32_t>(ticks >> 32);
        span.dwLowDateTime_ = static_cast<std::uint32_t>(ticks);
        return span;
    }

private:
    static const CDateTimeSpan oneYear;
    static const CDateTimeSpan oneMonth;
    static const CDateTimeSpan oneDay;
    static const CDateTimeSpan oneHour;
    static const CDateTimeSpan oneMinute;
    static const CDateTimeSpan oneSecond;
    static const CDateTimeSpan oneMillisecond;

    std::uint32_t dwHighDateTime_ = 0;
    std::uint32_t dwLowDateTime_ = 0;
};

inline bool operator==(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return a.ticks() == b.ticks();
}
inline bool operator!=(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return !(a == b);
}
inline bool operator<(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return a.ticks() < b.ticks();
}
inline bool operator<=(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return !(b < a);
}
inline bool operator>(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return b < a;
}
inline bool operator>=(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return !(a < b);
}

// Sums and products wrap modulo 2^64. A division by zero is the processor's fault, as with
// integers.
CHRONOSEAL_API CDateTimeSpan operator+(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept;
CHRONOSEAL_API CDateTimeSpan& operator+=(CDateTimeSpan& a, const CDateTimeSpan& b) noexcept;
CHRONOSEAL_API CDateTimeSpan operator-(const CDateTimeSpan& a, const CDateTimeSpan& b);
CHRONOSEAL_API CDateTimeSpan& operator-=(CDateTimeSpan& a, const CDateTimeSpan& b);
CHRONOSEAL_API CDateTimeSpan operator*(const CDateTimeSpan& a, unsigned int factor) noexcept;
CHRONOSEAL_API CDateTimeSpan& operator*=(CDateTimeSpan& a, unsigned int factor) noexcept;
CHRONOSEAL_API CDateTimeSpan operator/(const CDateTimeSpan& a, unsigned int divisor) noexcept;
CHRONOSEAL_API CDateTimeSpan& operator/=(CDateTimeSpan& a, unsigned int divisor) noexcept;
CHRONOSEAL_API CDateTimeSpan operator%(const CDateTimeSpan& a, unsigned int divisor) noexcept;
CHRONOSEAL_API CDateTimeSpan& operator%=(CDateTimeSpan& a, unsigned int divisor) noexcept;
CHRONOSEAL_API unsigned long long operator/(const CDateTimeSpan& a,
                                            const CDateTimeSpan& b) noexcept;
CHRONOSEAL_API CDateTimeSpan operator%(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept;

} // namespace Halcyon
