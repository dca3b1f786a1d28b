// The signatures of lists, answers and responders' certificates: each checked once within the
// budget, by keys of the type that the signature names, with digests and keys that are strong
// enough. Made for one verdict; nothing fails.
#pragma once

#include <basalt/certificate/strength.h>
#include <basalt/revocation/budget.h>
#include <basalt/revocation/crl_facts.h>
#include <basalt/revocation/ocsp_facts.h>

#include <map>
#include <utility>

namespace basalt {

class EvidenceSignatures {
public:
    explicit EvidenceSignatures(Budget& budget) : budget_(budget) {}

    // `given`: the object came with the question, and isn't of the cache or the network.
    bool good(const CrlFacts& list, const X509Entry& signer, StrengthLevel level, bool given);
    bool good(const OcspFacts& answer, const X509Entry& signer, StrengthLevel level, bool given);
    bool good(const X509Entry& certificate, const X509Entry& issuer, StrengthLevel level,
              bool given);

    // True when a check was left out for lack of budget, here or by whoever says so.
    bool exhausted() const { return exhausted_; }
    void set_exhausted() { exhausted_ = true; }

private:
    // The verdict of before, or that of `check` if the key fits and the budget allows it.
    template <class Check>
    bool look_up(const void* object, const X509_ALGOR* algorithm, const X509Entry& signer,
                 StrengthLevel level, bool given, Check&& check);

    Budget& budget_;
    std::map<std::pair<const void*, const X509Entry*>, bool> known_;
    bool exhausted_ = false;
};

} // namespace basalt
