// The result code of a system's error number.
#pragma once

#include <cstdint>

namespace Halcyon {

// The facility of the system, and the number's low 16 bits, as the bits of a result code.
inline constexpr std::uint32_t kSystemFacility = 0x80070000;
inline constexpr std::uint32_t kSystemErrorBits = 0xFFFF;
constexpr std::uint32_t of_system_error(std::uint32_t error) noexcept {
    return kSystemFacility | (error & kSystemErrorBits);
}

} // namespace Halcyon
