// What one verdict may cost: signatures, paths, steps, and one deadline for everything that is
// fetched, which several verdicts may share. Whoever is about to spend asks first; a refusal means
// that the question stays open, and never that something is good. One object a verdict, for one
// thread; nothing fails.
#pragma once

#include <basalt/revocation/fetching.h>

#include <openssl/evp.h>

#include <memory>

namespace basalt {

struct BudgetLimits {
    unsigned certificate_signatures = 128;
    unsigned evidence_signatures = 128;
    // Of these, so many for what came with the question: junk lists in a token must not use up what
    // the authority's own answer needs.
    unsigned given_evidence_signatures = 64;
    // Certificates of responders that came with answers: to read one may cost a millisecond.
    unsigned responders = 48;
    unsigned given_responders = 32; // of these, with what came with the question
    unsigned judged_paths = 16;
    unsigned steps = 1000;
    unsigned fetching_paths = 2;
    unsigned addresses = 4; // for each certificate
    std::size_t object_bytes = std::size_t{4} << 20;
    std::chrono::milliseconds fetching_time = kFetchingTime;
};

// How much a signature check with that key costs: 1 for RSA up to 4096 bits and for P-256, 10 for
// all others.
unsigned signature_weight(const EVP_PKEY* key);

class Budget {
public:
    using TimePoint = Fetching::TimePoint;
    using Clock = Fetching::Clock;

    // `shared` bounds the fetching of this verdict and others together; null: there are no others.
    explicit Budget(const BudgetLimits& limits = {}, Clock clock = std::chrono::steady_clock::now,
                    std::shared_ptr<Fetching> shared = nullptr);

    const BudgetLimits& limits() const { return limits_; }

    // Each takes what is asked for and gives true, or takes nothing and gives false.
    bool take_certificate_signature(const EVP_PKEY* key);
    bool take_evidence_signature(const EVP_PKEY* key, bool given);
    bool take_responder(bool given);
    bool take_judged_path();
    bool take_step();
    bool take_fetching_path();

    // What is left for fetching; zero when nothing is. The deadline begins with the first call.
    std::chrono::milliseconds fetching_time_left();

    // Who remembers what failed.
    Fetching& fetching() { return shared_ ? *shared_ : own_; }

    // What has been used, in units of weight.
    unsigned certificate_signatures() const { return certificate_signatures_; }
    unsigned evidence_signatures() const { return evidence_signatures_; }
    unsigned responders() const { return responders_; }
    unsigned judged_paths() const { return judged_paths_; }
    unsigned steps() const { return steps_; }

private:
    BudgetLimits limits_;
    Fetching own_;
    std::shared_ptr<Fetching> shared_;
    unsigned certificate_signatures_ = 0;
    unsigned evidence_signatures_ = 0;
    unsigned given_signatures_ = 0;
    unsigned responders_ = 0;
    unsigned given_responders_ = 0;
    unsigned judged_paths_ = 0;
    unsigned steps_ = 0;
    unsigned fetching_paths_ = 0;
};

} // namespace basalt
