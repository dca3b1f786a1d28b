// What all verdicts on one file have together: the time that one of them may take for fetching, the
// memory of what has failed, and the processor's work for signatures. Any thread.
#pragma once

#include <basalt/chain.h>
#include <basalt/error_codes.h>
#include <basalt/last_error.h>
#include <chronoseal/seal/failure.h>

namespace chronoseal {

class SharedFetching {
public:
    SharedFetching() {
        if (BasaltCreateFetching(&handle_) == 0) {
            throw error_of_last("set up the judgement of chains");
        }
    }
    ~SharedFetching() { BasaltFreeFetching(handle_); }
    SharedFetching(const SharedFetching&) = delete;
    SharedFetching& operator=(const SharedFetching&) = delete;

    HBASALT_FETCHING get() const { return handle_; }

    // False when so much work isn't left. A certificate that can't be read takes none.
    bool take_signature(PCCERT_CONTEXT signer) const {
        return BasaltTakeSignature(handle_, signer) != 0 || GetLastError() != TRUST_E_SYSTEM_ERROR;
    }

private:
    HBASALT_FETCHING handle_ = nullptr;
};

} // namespace chronoseal
