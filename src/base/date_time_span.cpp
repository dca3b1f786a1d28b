// Lengths of time: constants, text forms and arithmetic on the tick count.
#include "base/date_time_span.h"

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "base/atl_exception.h"
#include "base/generalized_time.h"
#include "sup/text_conversion.h"

namespace Halcyon {

namespace {

constexpr std::uint64_t ticksPerSecond = 10000000;
constexpr std::uint64_t secondsPerDay = 24 * 60 * 60;

std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    if (b > a) {
        ATL::AtlThrowImpl(hr(0x80004005u));
    }
    return a - b;
}

std::uint64_t ticksFromText(char const* text) {
    int microseconds = 0;
    auto const tm = GeneralizedTimeToTm(text ? text : "", microseconds, true);
    auto field = [](int value) { return static_cast<std::uint64_t>(value); };
    auto const days = field(tm.tm_mday) + 30 * field(tm.tm_mon) + 365 * field(tm.tm_year);
    auto const seconds =
        field(tm.tm_sec) + 60 * (field(tm.tm_min) + 60 * (field(tm.tm_hour) + 24 * days));
    return seconds * ticksPerSecond + field(microseconds) * 10;
}

} // namespace

constinit CDateTimeSpan const CDateTimeSpan::oneYear =
    CDateTimeSpan::fromTicks(365 * secondsPerDay * ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneMonth =
    CDateTimeSpan::fromTicks(30 * secondsPerDay * ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneDay =
    CDateTimeSpan::fromTicks(secondsPerDay * ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneHour =
    CDateTimeSpan::fromTicks(60 * 60 * ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneMinute =
    CDateTimeSpan::fromTicks(60 * ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneSecond = CDateTimeSpan::fromTicks(ticksPerSecond);
constinit CDateTimeSpan const CDateTimeSpan::oneMillisecond =
    CDateTimeSpan::fromTicks(ticksPerSecond / 1000);

CDateTimeSpan::CDateTimeSpan(char const* generalizedText)
    : CDateTimeSpan(fromTicks(ticksFromText(generalizedText))) {}

void CDateTimeSpan::swap(CDateTimeSpan& other) noexcept {
    std::swap(*this, other);
}

CStringProxy CDateTimeSpan::getGeneralizedTime() const {
    auto const wholeSeconds = ticks() / ticksPerSecond;
    auto const micros = (ticks() - wholeSeconds * ticksPerSecond) / 10;
    auto rest = wholeSeconds;
    auto take = [&rest](std::uint64_t unit) {
        auto const count = rest / unit;
        rest %= unit;
        return static_cast<unsigned long long>(count);
    };
    auto const years = take(365 * secondsPerDay);
    auto const months = take(30 * secondsPerDay);
    auto const days = take(secondsPerDay);
    auto const hours = take(60 * 60);
    auto const minutes = take(60);
    auto const seconds = take(1);
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04llu%02llu%02llu%02llu%02llu%02llu.%06llu",
                  years, months, days, hours, minutes, seconds,
                  static_cast<unsigned long long>(micros));
    std::string text(buffer.data());
    // Zeros go beyond the point as well, so a whole number of tens of seconds loses digits that a
    // reader would need.
    while (!text.empty() && (text.back() == '0' || text.back() == '.')) {
        text.pop_back();
    }
    text += 'Z';
    return {text.c_str()};
}

CStringProxy CDateTimeSpan::tostring() const {
    return getGeneralizedTime();
}

CWStringProxy CDateTimeSpan::towstring() const {
    auto const narrow = getGeneralizedTime();
    int const size = MultiByteToWideChar(0, 0, narrow.c_str(), -1, nullptr, 0);
    std::wstring wide(size > 0 ? static_cast<std::size_t>(size) : 1, L'\0');
    MultiByteToWideChar(0, 0, narrow.c_str(), -1, wide.data(), size);
    return {wide.c_str()};
}

CDateTimeSpan operator+(CDateTimeSpan const& a, CDateTimeSpan const& b) noexcept {
    return CDateTimeSpan::fromTicks(a.ticks() + b.ticks());
}

CDateTimeSpan& operator+=(CDateTimeSpan& a, CDateTimeSpan const& b) noexcept {
    return a = a + b;
}

CDateTimeSpan operator-(CDateTimeSpan const& a, CDateTimeSpan const& b) {
    return CDateTimeSpan::fromTicks(difference(a.ticks(), b.ticks()));
}

CDateTimeSpan& operator-=(CDateTimeSpan& a, CDateTimeSpan const& b) {
    return a = a - b;
}

CDateTimeSpan operator*(CDateTimeSpan const& a, unsigned int factor) noexcept {
    return CDateTimeSpan::fromTicks(a.ticks() * factor);
}

CDateTimeSpan& operator*=(CDateTimeSpan& a, unsigned int factor) noexcept {
    return a = a * factor;
}

CDateTimeSpan operator/(CDateTimeSpan const& a, unsigned int divisor) noexcept {
    return CDateTimeSpan::fromTicks(a.ticks() / divisor);
}

CDateTimeSpan& operator/=(CDateTimeSpan& a, unsigned int divisor) noexcept {
    return a = a / divisor;
}

CDateTimeSpan operator%(CDateTimeSpan const& a, unsigned int divisor) noexcept {
    return CDateTimeSpan::fromTicks(a.ticks() % divisor);
}

CDateTimeSpan& operator%=(CDateTimeSpan& a, unsigned int divisor) noexcept {
    return a = a % divisor;
}

unsigned long long operator/(CDateTimeSpan const& a, CDateTimeSpan const& b) noexcept {
    return a.ticks() / b.ticks();
}

CDateTimeSpan operator%(CDateTimeSpan const& a, CDateTimeSpan const& b) noexcept {
    return CDateTimeSpan::fromTicks(a.ticks() % b.ticks());
}

} // namespace Halcyon
