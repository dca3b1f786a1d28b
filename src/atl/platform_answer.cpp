// The size check of platform answers, and the codes of failures without a last error.
#include <basalt/error_codes.h>
#include <chronoseal/atl/platform_answer.h>

#include <basalt/last_error.h>
#include <chronoseal/base/system_error.h>

namespace ATL2 {

void set_answer_length(ATL::CStringA& value, DWORD size) {
    value.SetLength(static_cast<int>(size)); // refuses what is negative in 32 bits
}

HRESULT result_from_last_error_or_fail() noexcept {
    const auto error = static_cast<HRESULT>(GetLastError());
    if (error > 0) {
        // Read again: what stands in its place by now counts.
        return GetLastError() == 0
                   ? Halcyon::hr(Halcyon::kNoErrorSet)
                   : Halcyon::hr(Halcyon::of_system_error(static_cast<DWORD>(error)));
    }
    return error == 0 ? Halcyon::hr(E_FAIL) : error;
}

} // namespace ATL2
