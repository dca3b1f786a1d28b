// The inside of a verifier.
#pragma once

#include <chronoseal/seal/verification.h>

namespace chronoseal {

class Verifier::Impl {
public:
    explicit Impl(const Trust& trust, Reach reach = Reach::everywhere) : trust_(trust, reach) {}

    Verdict verify(const Stamp& stamp, const Expected& expected, Leniency leniency) const;
private:
    TrustInForce trust_;
};

} // namespace chronoseal
