#include <basalt/coding/file_ticks.h>

#include <basalt/time_conversion.h>

namespace basalt {

FileTicks now_in_ticks() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return ticks_of(now);
}

std::optional<FileTicks> ticks_of(const ASN1_TIME* time) {
    std::tm fields{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &fields) != 1) {
        return std::nullopt;
    }
    const std::int64_t seconds = static_cast<std::int64_t>(timegm(&fields)) + kUnixEpochSeconds;
    if (seconds < 0) {
        return std::nullopt;
    }
    return static_cast<FileTicks>(seconds) * kTicksPerSecond;
}

} // namespace basalt
