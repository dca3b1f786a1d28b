#include <basalt/coding/file_ticks.h>

#include <basalt/time_conversion.h>

#include <string_view>

namespace basalt {

FileTicks now_in_ticks() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return ticks_of(now);
}

bool has_plain_form(const ASN1_TIME& time) {
    const std::string_view text(reinterpret_cast<const char*>(ASN1_STRING_get0_data(&time)),
                                static_cast<std::size_t>(ASN1_STRING_length(&time)));
    const std::size_t digits = ASN1_STRING_type(&time) == V_ASN1_UTCTIME ? 12 : 14;
    return text.size() == digits + 1 && text.back() == 'Z' &&
           text.find_first_not_of("0123456789") == digits;
}

std::optional<FileTicks> ticks_of(const ASN1_TIME* time) {
    std::tm fields{};
    if (time == nullptr || !has_plain_form(*time) || ASN1_TIME_to_tm(time, &fields) != 1) {
        return std::nullopt;
    }
    const std::int64_t seconds = static_cast<std::int64_t>(timegm(&fields)) + kUnixEpochSeconds;
    if (seconds < 0) {
        return std::nullopt;
    }
    return static_cast<FileTicks>(seconds) * kTicksPerSecond;
}

} // namespace basalt
