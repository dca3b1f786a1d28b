// Lengths of time: constants, text forms and arithmetic on the tick count.
#include <basalt/error_codes.h>
#include <chronoseal/base/date_time_span.h>

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include <basalt/text_conversion.h>
#include <chronoseal/base/atl_exception.h>
#include <chronoseal/base/generalized_time.h>

namespace Halcyon {

namespace {

constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::uint64_t kSecondsPerDay = 24 * 60 * 60;

std::uint64_t difference(std::uint64_t a, std::uint64_t b) {
    if (b > a) {
        ATL::AtlThrowImpl(hr(E_FAIL));
    }
    return a - b;
}

std::uint64_t ticks_from_text(const char* text) {
    int microseconds = 0;
    const auto tm = GeneralizedTimeToTm(text ? text : "", microseconds, true);
    auto field = [](int value) { return static_cast<std::uint64_t>(value); };
    const auto days = field(tm.tm_mday) + 30 * field(tm.tm_mon) + 365 * field(tm.tm_year);
    const auto seconds =
        field(tm.tm_sec) + 60 * (field(tm.tm_min) + 60 * (field(tm.tm_hour) + 24 * days));
    return seconds * kTicksPerSecond + field(microseconds) * 10;
}

} // namespace

const constinit CDateTimeSpan CDateTimeSpan::oneYear =
    CDateTimeSpan::from_ticks(365 * kSecondsPerDay * kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneMonth =
    CDateTimeSpan::from_ticks(30 * kSecondsPerDay * kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneDay =
    CDateTimeSpan::from_ticks(kSecondsPerDay * kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneHour =
    CDateTimeSpan::from_ticks(60 * 60 * kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneMinute =
    CDateTimeSpan::from_ticks(60 * kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneSecond = CDateTimeSpan::from_ticks(kTicksPerSecond);
const constinit CDateTimeSpan CDateTimeSpan::oneMillisecond =
    CDateTimeSpan::from_ticks(kTicksPerSecond / 1000);

CDateTimeSpan::CDateTimeSpan(const char* generalizedText)
    : CDateTimeSpan(from_ticks(ticks_from_text(generalizedText))) {}

void CDateTimeSpan::swap(CDateTimeSpan& other) noexcept {
    std::swap(*this, other);
}

CStringProxy CDateTimeSpan::getGeneralizedTime() const {
    const auto whole_seconds = ticks() / kTicksPerSecond;
    const auto micros = (ticks() - whole_seconds * kTicksPerSecond) / 10;
    auto rest = whole_seconds;
    auto take = [&rest](std::uint64_t unit) {
        const auto count = rest / unit;
        rest %= unit;
        return static_cast<unsigned long long>(count);
    };
    const auto years = take(365 * kSecondsPerDay);
    const auto months = take(30 * kSecondsPerDay);
    const auto days = take(kSecondsPerDay);
    const auto hours = take(60 * 60);
    const auto minutes = take(60);
    const auto seconds = take(1);
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
    const auto narrow = getGeneralizedTime();
    const int size = MultiByteToWideChar(0, 0, narrow.c_str(), -1, nullptr, 0);
    std::wstring wide(size > 0 ? static_cast<std::size_t>(size) : 1, L'\0');
    MultiByteToWideChar(0, 0, narrow.c_str(), -1, wide.data(), size);
    return {wide.c_str()};
}

CDateTimeSpan operator+(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return CDateTimeSpan::from_ticks(a.ticks() + b.ticks());
}

CDateTimeSpan& operator+=(CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return a = a + b;
}

CDateTimeSpan operator-(const CDateTimeSpan& a, const CDateTimeSpan& b) {
    return CDateTimeSpan::from_ticks(difference(a.ticks(), b.ticks()));
}

CDateTimeSpan& operator-=(CDateTimeSpan& a, const CDateTimeSpan& b) {
    return a = a - b;
}

CDateTimeSpan operator*(const CDateTimeSpan& a, unsigned int factor) noexcept {
    return CDateTimeSpan::from_ticks(a.ticks() * factor);
}

CDateTimeSpan& operator*=(CDateTimeSpan& a, unsigned int factor) noexcept {
    return a = a * factor;
}

CDateTimeSpan operator/(const CDateTimeSpan& a, unsigned int divisor) noexcept {
    return CDateTimeSpan::from_ticks(a.ticks() / divisor);
}

CDateTimeSpan& operator/=(CDateTimeSpan& a, unsigned int divisor) noexcept {
    return a = a / divisor;
}

CDateTimeSpan operator%(const CDateTimeSpan& a, unsigned int divisor) noexcept {
    return CDateTimeSpan::from_ticks(a.ticks() % divisor);
}

CDateTimeSpan& operator%=(CDateTimeSpan& a, unsigned int divisor) noexcept {
    return a = a % divisor;
}

unsigned long long operator/(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return a.ticks() / b.ticks();
}

CDateTimeSpan operator%(const CDateTimeSpan& a, const CDateTimeSpan& b) noexcept {
    return CDateTimeSpan::from_ticks(a.ticks() % b.ticks());
}

} // namespace Halcyon
