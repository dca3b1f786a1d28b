// The inside of a verifier.
#pragma once

#include <chronoseal/seal/verification.h>

namespace chronoseal {

class Verifier::Impl {
public:
    explicit Impl(const Trust& trust, Reach reach = Reach::everywhere)
        : trust_(std::make_shared<const TrustInForce>(trust, reach)) {}

    Verdict verify(const Stamp& stamp, const Expected& expected, Leniency leniency) const;
    // For a stamp that isn't needed any more.
    Verdict verify(Stamp&& stamp, const Expected& expected, Leniency leniency) const;
    std::shared_ptr<const Impl> for_one_file() const;

private:
    std::shared_ptr<const TrustInForce> trust_;
    std::shared_ptr<const SharedFetching> together_; // null: each stamp stands alone
};

} // namespace chronoseal
