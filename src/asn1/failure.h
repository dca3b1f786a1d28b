// How the value layer fails: CAtlException with one of a few codes. The run-time's own statuses
// don't reach the caller.
#pragma once

#include <basalt/error_codes.h>
#include <chronoseal/asn1rt/runtime.h>
#include <chronoseal/base/atl_exception.h>

namespace Halcyon::ASN1 {

// Anything that can't be encoded or decoded: 0x80093101.
[[noreturn]] inline void fail_codec() {
    ATL::AtlThrowImpl(hr(CRYPT_E_ASN1_INTERNAL));
}
// No memory on a context's heap: 0x80093106.
[[noreturn]] inline void fail_memory() {
    ATL::AtlThrowImpl(hr(CRYPT_E_ASN1_MEMORY));
}
// An argument that can't be meant: 0x80070057.
[[noreturn]] inline void fail_argument() {
    ATL::AtlThrowImpl(hr(E_INVALIDARG));
}

// Runs `step` and turns what the run-time throws into the codes above.
template <class Step>
decltype(auto) with_result_codes(Step&& step) {
    try {
        return step();
    } catch (const ASN1MessageBuffer::RTLError& error) {
        if (error.getStatus() == rtStatusNoMemory) {
            fail_memory();
        }
        fail_codec();
    }
}

} // namespace Halcyon::ASN1
