// The one exception of the client, the wrappers and the value layer: a 32-bit result code and
// nothing else. It is thrown by value and caught by reference; other libraries catch it, so its
// type record is exported.
#pragma once

#include <cstdint>

#include <chronoseal/visibility.h>

namespace ATL {

// `m_hr` is a result code in the platform's sense: negative means failure.
class CHRONOSEAL_API CAtlException {
public:
    constexpr CAtlException() noexcept = default;
    constexpr explicit CAtlException(std::int32_t code) noexcept : m_hr(code) {}
    constexpr operator std::int32_t() const noexcept { return m_hr; }

    std::int32_t m_hr = static_cast<std::int32_t>(0x80004005u);
};

// Throws `CAtlException(code)`.
[[noreturn]] CHRONOSEAL_API void AtlThrowImpl(int code);

} // namespace ATL

namespace Halcyon {

// The bit pattern of a result code as the signed number that carries it: hr(0x80070057u).
constexpr std::int32_t hr(std::uint32_t bits) noexcept {
    return static_cast<std::int32_t>(bits);
}

// Result codes of the base values and the wrappers, without the platform's headers: no memory left;
// more bytes than the buffer holds; a text that is no date; a platform function that failed and set
// no error.
inline constexpr std::uint32_t kMemoryExhausted = 0x8007000E;
inline constexpr std::uint32_t kMoreData = 0x800700EA;
inline constexpr std::uint32_t kInvalidTimeText = 0x8007076D;
inline constexpr std::uint32_t kNoErrorSet = 0x80074005;

// The calling thread's last error as a result code: a value above 0 becomes (value & 0xFFFF) |
// 0x80070000, any other is returned as it stands. 0 stays 0, which is no failure: a caller for whom
// that matters uses the form with a fallback, which is returned in place of 0.
CHRONOSEAL_API std::int32_t result_from_last_error() noexcept;
CHRONOSEAL_API std::int32_t result_from_last_error(std::int32_t fallback) noexcept;

// Throws `result_from_last_error()` as `CAtlException`, a code of 0 included.
[[noreturn]] CHRONOSEAL_API void throw_last_error();

} // namespace Halcyon
