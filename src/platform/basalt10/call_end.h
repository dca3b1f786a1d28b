// How the functions of this library end: by a switch, and where they fail by the thread's last
// error.
#pragma once

#include <cstddef>

#include <basalt/types.h>

namespace basalt {

// Sets the last error.
BOOL fail(DWORD code);

// A parameter's value to who has asked with room for it, or without for its size, which is told
// either way. Fails by ERROR_MORE_DATA where there is too little room.
BOOL give_parameter(const void* value, std::size_t length, BYTE* data, DWORD* size);

} // namespace basalt
