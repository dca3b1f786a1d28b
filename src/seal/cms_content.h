// What a CmsSignature is made of.
#pragma once

#include <chronoseal/seal/envelope.h>

namespace chronoseal {

struct CmsSignature::Content {
    Envelope envelope;
    Bytes der; // with definite lengths
    std::size_t signers = 0;
    bool detached = false;
};

} // namespace chronoseal
