// The last error: one plain word a thread.
#include <basalt/last_error.h>

namespace {

constinit thread_local DWORD last_error = 0;

} // namespace

DWORD GetLastError() noexcept {
    return last_error;
}

void SetLastError(DWORD code) noexcept {
    last_error = code;
}
