// Throwing of result codes, and the rule that makes one from the thread's last error.
#include <chronoseal/base/atl_exception.h>

#include <basalt/last_error.h>
#include <chronoseal/base/system_error.h>

namespace ATL {

void AtlThrowImpl(int code) {
    throw CAtlException(code);
}

} // namespace ATL

namespace Halcyon {

std::int32_t result_from_last_error() noexcept {
    const auto error = static_cast<std::int32_t>(GetLastError());
    if (error > 0) {
        return hr(of_system_error(static_cast<std::uint32_t>(error)));
    }
    return error;
}

std::int32_t result_from_last_error(std::int32_t fallback) noexcept {
    const auto code = result_from_last_error();
    return code == 0 ? fallback : code;
}

void throw_last_error() {
    ATL::AtlThrowImpl(result_from_last_error());
}

} // namespace Halcyon
