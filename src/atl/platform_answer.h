// Fetching of platform answers of unknown length: one call for the size, one for the data.
#pragma once

#include <basalt/error_codes.h>
#include <basalt/types.h>
#include <chronoseal/atl/string.h>
#include <chronoseal/base/atl_exception.h>

namespace ATL2 {

// The encoding of certificates and messages everywhere in the library.
constexpr DWORD kAnyEncoding = 0x00010001;

// Sets the length of an answer to what the platform reported. Throws CAtlException 0x80070057 for a
// size beyond the buffer.
void set_answer_length(ATL::CStringA& value, DWORD size);

// The code of a failure whose last error may be missing: never 0 and never success.
HRESULT result_from_last_error_or_fail() noexcept;

// `call(buffer, &size)` is the platform's function with all but the buffer bound; it returns BOOL.
// The result is 0, or the code of the last error; in the second call the length is set before that
// is looked at.
template <class Call>
HRESULT fetch_answer(ATL::CStringA& value, Call call,
                     HRESULT (*second_failure)() noexcept = nullptr) {
    DWORD size = 0;
    if (!call(nullptr, &size)) {
        return Halcyon::result_from_last_error();
    }
    if (size > 0x7FFFFFFFu) {
        ATL::AtlThrowImpl(Halcyon::hr(E_INVALIDARG));
    }
    char* const room = value.PrepareWrite(static_cast<int>(size));
    HRESULT result = 0;
    if (!call(room, &size)) {
        result = second_failure ? second_failure() : Halcyon::result_from_last_error();
    }
    set_answer_length(value, size);
    return result;
}

} // namespace ATL2
