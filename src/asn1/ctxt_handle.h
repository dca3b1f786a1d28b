// ctxt_handle: a context on the stack that is freed with its scope.
#pragma once

#include "asn1rt/runtime.h"

namespace Halcyon::ASN1 {

class ctxt_handle {
public:
    ctxt_handle() = default;
    ctxt_handle(const ctxt_handle&) = delete;
    ctxt_handle& operator=(const ctxt_handle&) = delete;
    ~ctxt_handle() { release(); }

    // True on success. The context has no buffer yet.
    bool init() { return rtInitContext(&ctxt_, nullptr) == 0; }
    void release() { rtFreeContext(&ctxt_); }
    ASN1CTXT* get() { return &ctxt_; }

private:
    ASN1CTXT ctxt_{};
};

} // namespace Halcyon::ASN1
