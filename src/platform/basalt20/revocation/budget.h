// What one verdict may cost: signatures, paths, steps, and what several verdicts may share, one
// deadline for everything that is fetched and the processor's work. Whoever is about to spend asks
// first; a refusal means that the question stays open, and never that something is good. One object
// a verdict, for one thread; nothing fails.
#pragma once

#include <basalt/certificate.h>
#include <basalt/revocation/fetching.h>

#include <openssl/evp.h>

#include <memory>

namespace basalt {

struct BudgetLimits {
    unsigned certificate_signatures = 128;
    // Beside these, of the machine's and its user's certificates by each other: what came with the
    // question can't use them up.
    unsigned own_certificate_signatures = 64;
    unsigned evidence_signatures = 256;
    // Of these, so many for what came with the question, objects and signers: junk in a token must
    // not use up what the authority's own answer needs. Enough for the answers of several years by
    // dear keys, since nothing is good while some weren't looked at.
    unsigned given_evidence_signatures = 160;
    // Certificates of responders that came with answers: to read one may cost a millisecond.
    unsigned responders = 48;
    unsigned given_responders = 32; // of these, with what came with the question
    unsigned judged_paths = 16;
    // Beside these, of the machine's and its user's certificates alone.
    unsigned own_judged_paths = 64;
    unsigned heard_paths = 64; // by which certificates of a key may have something to tell
    unsigned steps = 1000;
    unsigned fetching_paths = 2;
    unsigned addresses = 4; // for each certificate
    std::size_t object_bytes = std::size_t{4} << 20;
    std::chrono::milliseconds fetching_time = kFetchingTime;
};

// How much a signature check with that key costs: 1 for RSA up to 4096 bits and for P-256, 10 for
// all others.
unsigned signature_weight(const EVP_PKEY* key);

// The processor's work for one, in tenths of a millisecond: what is spread by a hundred within one
// weight counts for a file of many stamps.
unsigned signature_cost(const EVP_PKEY* key);

// The same for reading a key: points that are compressed and curves that are written out take
// OpenSSL a millisecond and more.
unsigned reading_cost(const CERT_PUBLIC_KEY_INFO& key);

class Budget {
public:
    using TimePoint = Fetching::TimePoint;
    using Clock = Fetching::Clock;

    // `shared` bounds the fetching of this verdict and others together; null: there are no others.
    explicit Budget(const BudgetLimits& limits = {}, Clock clock = std::chrono::steady_clock::now,
                    std::shared_ptr<Fetching> shared = nullptr);

    const BudgetLimits& limits() const { return limits_; }

    // Each takes what is asked for and gives true, or takes nothing and gives false.
    // `own`: both certificates are the machine's or its user's.
    bool take_certificate_signature(const EVP_PKEY* key, bool own = false);
    // `given`: the object or its signer's certificate came with the question.
    bool take_evidence_signature(const EVP_PKEY* key, bool given);
    bool take_responder(bool given);
    bool take_reading(const CERT_PUBLIC_KEY_INFO& key) { return take_work(reading_cost(key)); }
    bool take_judged_path();
    bool take_step();
    bool take_fetching_path();

    // What is left for fetching; zero when nothing is. The deadline begins with the first call.
    std::chrono::milliseconds fetching_time_left();
    // Of that, what one exchange may take: a silent server leaves time for the others.
    std::chrono::milliseconds exchange_time();

    // Who remembers what failed.
    Fetching& fetching() { return shared_ ? *shared_ : own_; }

    // What has been used, in units of weight.
    unsigned certificate_signatures() const {
        return certificate_signatures_ + own_certificate_signatures_;
    }
    unsigned evidence_signatures() const { return evidence_signatures_; }
    unsigned responders() const { return responders_; }
    unsigned judged_paths() const { return judged_paths_; }
    unsigned steps() const { return steps_; }

private:
    bool take_signature(unsigned& used, unsigned limit, const EVP_PKEY* key);
    bool take_work(unsigned cost) { return !shared_ || shared_->take_work(cost); }

    BudgetLimits limits_;
    Fetching own_;
    std::shared_ptr<Fetching> shared_;
    unsigned certificate_signatures_ = 0;
    unsigned own_certificate_signatures_ = 0;
    unsigned evidence_signatures_ = 0;
    unsigned given_signatures_ = 0;
    unsigned responders_ = 0;
    unsigned given_responders_ = 0;
    unsigned judged_paths_ = 0;
    unsigned steps_ = 0;
    unsigned fetching_paths_ = 0;
};

} // namespace basalt
