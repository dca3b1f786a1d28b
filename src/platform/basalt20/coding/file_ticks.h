// File times as one number, and the ways between them and OpenSSL's times.
#pragma once

#include <basalt/types.h>

#include <openssl/asn1.h>

#include <cstdint>
#include <ctime>
#include <optional>

namespace basalt {

// Ticks of 100 nanoseconds since 1601.
using FileTicks = std::uint64_t;

inline constexpr FileTicks kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kUnixEpochSeconds = 11'644'473'600; // 1601 to 1970

inline FileTicks ticks_of(const FILETIME& time) {
    return (FileTicks{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

inline FILETIME file_time_of(FileTicks ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Whole seconds, cut.
inline std::time_t unix_time_of(FileTicks ticks) {
    return static_cast<std::time_t>(static_cast<std::int64_t>(ticks / kTicksPerSecond) -
                                    kUnixEpochSeconds);
}

FileTicks now_in_ticks();

// YYMMDDHHMMSSZ, or the same with a year of four digits: all that certificates, lists and answers
// may have (RFC 5280, 4.1.2.5). Others may be read otherwise elsewhere.
bool has_plain_form(const ASN1_TIME& time);

// Nothing for a null time, one of another form, one that OpenSSL can't read, or one before 1601.
std::optional<FileTicks> ticks_of(const ASN1_TIME* time);

} // namespace basalt
