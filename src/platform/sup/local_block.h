// Memory blocks that cross a C interface and are given back by whoever ends up with them.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

inline constexpr UINT LMEM_FIXED = 0x0000;
inline constexpr UINT LMEM_ZEROINIT = 0x0040;
inline constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;

extern "C" {

// A block of at least `size` bytes, aligned for any type; a size of 0 gives a block too. Null with
// last error ERROR_NOT_ENOUGH_MEMORY (8) when there is none.
BASALT_API HLOCAL LocalAlloc(UINT flags, SIZE_T size) noexcept;

// Frees a block of LocalAlloc; null is allowed. Always returns null.
BASALT_API HLOCAL LocalFree(HLOCAL block) noexcept;
}
