// The last error of the calling thread. Each thread starts with 0. No call of the platform sets it
// to 0 on success unless it says so.
#pragma once

#include <basalt/types.h>
#include <basalt/visibility.h>

extern "C" {

// The value that the calling thread set last.
BASALT_API DWORD GetLastError(void) noexcept;

BASALT_API void SetLastError(DWORD code) noexcept;
}
