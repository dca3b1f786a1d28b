// How many policies and mappings of policies a certificate has, by which it is told what it would
// take to follow them along a path. Pure; what can't be read here OpenSSL may read all the same,
// and counts as more than anybody has.
#pragma once

#include <basalt/certificate/certificate_body.h>

namespace basalt {

// Nobody honest has as many: each takes the verifier time for every other one.
inline constexpr std::size_t kMostPolicies = 256;

struct PolicyCounts {
    // Neither is counted farther than to one beyond kMostPolicies.
    std::size_t policies = 0;
    std::size_t mappings = 0;
    std::size_t mapped_from_one = 0; // the most mappings from one policy
    std::size_t mapped_to_one = 0;   // and to one

    bool are_affordable() const { return policies <= kMostPolicies && mappings <= kMostPolicies; }
};

PolicyCounts policy_counts(const CERT_INFO& certificate);

} // namespace basalt
