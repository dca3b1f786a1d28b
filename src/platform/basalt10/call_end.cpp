// The ends of a call.
#include <basalt/basalt10/call_end.h>

#include <cstring>

#include <basalt/error_codes.h>
#include <basalt/last_error.h>

namespace basalt {

BOOL fail(DWORD code) {
    SetLastError(code);
    return FALSE;
}

BOOL give_parameter(const void* value, std::size_t length, BYTE* data, DWORD* size) {
    const DWORD room = *size;
    *size = static_cast<DWORD>(length);
    if (data == nullptr) {
        return TRUE;
    }
    if (room < length) {
        return fail(ERROR_MORE_DATA);
    }
    std::memcpy(data, value, length);
    return TRUE;
}

} // namespace basalt
