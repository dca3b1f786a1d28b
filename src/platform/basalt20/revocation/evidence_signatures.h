// The signatures of lists, answers and responders' certificates: each checked once within the
// budget, by keys of the type that the signature names, with digests and keys that are strong
// enough. Made for one verdict; nothing fails.
#pragma once

#include <basalt/certificate/strength.h>
#include <basalt/revocation/budget.h>
#include <basalt/revocation/crl_facts.h>
#include <basalt/revocation/ocsp_facts.h>

#include <map>
#include <string>
#include <utility>

namespace basalt {

// Whatever it costs, and of whatever strength.
bool has_signed(EVP_PKEY* key, const CrlFacts& list);

class EvidenceSignatures {
public:
    explicit EvidenceSignatures(Budget& budget) : budget_(budget) {}

    // `given`: the object or the signer's certificate came with the question, and isn't the user's
    // own, or of the cache or the network.
    // `octets`: how many of them count as work, besides the key.
    bool good(const CrlFacts& list, const X509Entry& signer, StrengthLevel level, bool given,
              std::size_t octets);
    bool good(const OcspFacts& answer, const X509Entry& signer, StrengthLevel level, bool given,
              std::size_t octets);
    bool good(const X509Entry& certificate, const X509Entry& issuer, StrengthLevel level,
              bool given);

    // How often something was left out for lack of budget, here or by whoever says so.
    unsigned left_out() const { return left_out_; }
    void note_left_out() { ++left_out_; }

private:
    struct Terms {
        bool given;
        std::size_t octets;
    };

    // The verdict of before, or that of `check` if the key fits and the budget allows it.
    template <class Check>
    bool look_up(const void* object, const X509_ALGOR* algorithm, const X509Entry& signer,
                 StrengthLevel level, Terms terms, Check&& check);

    Budget& budget_;
    // The certificate that stands for all of that key.
    const X509Entry* of_same_key(const X509Entry& signer);

    std::map<std::string, const X509Entry*> by_key_; // encoded with its algorithm
    std::map<const X509Entry*, const X509Entry*> of_same_key_;
    std::map<std::pair<const void*, const X509Entry*>, bool> known_;
    unsigned left_out_ = 0;
};

} // namespace basalt
