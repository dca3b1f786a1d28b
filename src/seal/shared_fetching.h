// What all verdicts on one file have for fetching together: the time that one of them may take, and
// the memory of what has failed. Any thread.
#pragma once

#include <basalt/chain.h>
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

private:
    HBASALT_FETCHING handle_ = nullptr;
};

} // namespace chronoseal
