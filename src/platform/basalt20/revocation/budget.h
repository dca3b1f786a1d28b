// What one verdict may cost: signatures, paths, steps, and what several verdicts may share, one
// deadline for everything that is fetched and the processor's work. Whoever is about to spend asks
// first; a refusal means that the question stays open, and never that something is good. One object
// a verdict, for one thread; nothing fails.
#pragma once

#include <basalt/certificate.h>
#include <basalt/revocation/fetching.h>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace basalt {

// Signatures are counted in tenths of a millisecond of the processor's time, as signature_cost()
// has them. With everything used up a verdict takes 0.7 s without the network and 0.9 s with it:
// certificates 0.15, evidence 0.16 of 0.24, keys that are read 0.15 and 0.07, comparisons 0.2 of
// 0.3.
struct BudgetLimits {
    // Ten times what the hundred that are looked at take by P-256 and by RSA up to 4096 bits, and
    // seventy by P-384.
    unsigned certificate_signatures = 1000;
    // Beside these, of the machine's and its user's certificates by each other: what came with the
    // question can't use them up.
    unsigned own_certificate_signatures = 500;
    unsigned evidence_signatures = 2400;
    unsigned kept_signatures = 1000; // to find out who has signed what the cache has kept
    // Of these, so many for what came with the question, objects and signers: junk in a token must
    // not use up what the authority's own answer needs. Enough for the weekly answers of two years
    // by P-384, since nothing is good while some weren't looked at.
    unsigned given_evidence_signatures = 1600;
    // Certificates of responders that came with answers: what it costs to read them, which a
    // compressed key makes a millisecond and more of.
    unsigned responders = 720;
    unsigned given_responders = 480; // of these, with what came with the question
    // Names, entries and possible signers held against each other, each about a tenth of a
    // microsecond: what an honest token of many years takes is some thousands.
    std::size_t comparisons = 3'000'000;
    std::size_t given_comparisons = 2'000'000; // of these, for what came with the question
    unsigned judged_paths = 16;
    // Beside these, of the machine's and its user's certificates alone.
    unsigned own_judged_paths = 64;
    // How often those of who signs evidence may be judged again, for another list.
    unsigned judged_again = 2000;
    unsigned heard_paths = 64; // by which certificates of a key may have something to tell
    unsigned steps = 1000;
    unsigned fetching_paths = 2;
    unsigned fetching_paths_given_back = 4; // of those that turned out to be revoked
    unsigned addresses = 4;                 // for each certificate
    std::size_t object_bytes = std::size_t{4} << 20;
    std::chrono::milliseconds fetching_time = kFetchingTime;
    std::size_t fetched_octets = std::size_t{32} << 20; // of lists and answers, that are kept
};

// Of what is fetched, beside a list's entries or an answer's certificates, so much is read: OpenSSL
// makes forty times as much of it, before anybody can look who signed it.
inline constexpr std::size_t kMostUnverified = std::size_t{64} << 10;

// The processor's work for checking one signature, in tenths of a millisecond.
unsigned signature_cost(const EVP_PKEY* key);

// How many times as long as by other digests an octet takes that is hashed for that signature.
unsigned hashing_weight(const X509_ALGOR* signature);

// The same for reading a certificate, by its elements and its key: points that are compressed and
// curves that are written out take OpenSSL a millisecond and more.
unsigned reading_cost(const CERT_INFO& certificate);

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
    // `given`: the object or its signer's certificate came with the question. `octets`: what has to
    // be hashed for it, for which there is work, too.
    bool take_evidence_signature(const EVP_PKEY* key, bool given, std::size_t octets = 0);
    bool take_kept_signature(const EVP_PKEY* key, std::size_t octets);
    bool take_responder(const CERT_INFO& certificate, std::size_t octets, bool given);
    bool take_reading(const CERT_INFO& certificate) { return take_work(reading_cost(certificate)); }
    // Of a list or an answer, before anybody knows who has signed it.
    bool take_reading(std::size_t octets);
    // `given`: for something that came with the question. After a refusal there are none left:
    // whoever has asked for too many once needn't ask in smaller pieces.
    bool take_comparisons(std::size_t count, bool given);
    bool take_judged_path();
    bool take_step();
    bool take_fetching_path();
    void give_back_fetching_path();

    // What is left for fetching; zero when nothing is. The deadline begins with the first call.
    std::chrono::milliseconds fetching_time_left();
    // Of that, what one exchange may take: a silent server leaves time for the others. Less than a
    // fifth of the whole only towards the end.
    std::chrono::milliseconds exchange_time();
    // Whoever had less of it can't be called silent: less than a fifth, or than it would have been
    // if nobody else of the file had used any.
    std::chrono::milliseconds fair_exchange_time();

    // The same of the time for issuers, and what an exchange that began then has taken of it.
    std::chrono::milliseconds issuer_exchange_time();
    std::chrono::milliseconds least_issuer_exchange_time() const {
        return issuer_time(limits_.fetching_time) / 5;
    }
    TimePoint now() const { return own_.now(); }
    void take_issuer_time(TimePoint begin);

    // Who remembers what failed.
    Fetching& fetching() { return shared_ ? *shared_ : own_; }

    // What has been used; signatures by their costs.
    unsigned certificate_signatures() const {
        return certificate_signatures_ + own_certificate_signatures_;
    }
    unsigned evidence_signatures() const { return evidence_signatures_; }
    unsigned responders() const { return responders_; } // by their costs
    std::size_t comparisons() const { return comparisons_; }
    unsigned judged_paths() const { return judged_paths_; }
    unsigned steps() const { return steps_; }

private:
    bool take_with_work(unsigned& used, unsigned limit, unsigned cost);
    bool take_work(unsigned cost) { return !shared_ || shared_->take_work(cost); }
    std::chrono::milliseconds least_exchange_time() const { return limits_.fetching_time / 5; }
    std::chrono::milliseconds share_of(std::chrono::milliseconds left) const;

    BudgetLimits limits_;
    Fetching own_;
    std::shared_ptr<Fetching> shared_;
    unsigned certificate_signatures_ = 0;
    unsigned own_certificate_signatures_ = 0;
    unsigned evidence_signatures_ = 0;
    unsigned kept_signatures_ = 0;
    unsigned given_signatures_ = 0;
    unsigned responders_ = 0;
    unsigned given_responders_ = 0;
    std::size_t comparisons_ = 0;
    std::size_t given_comparisons_ = 0;
    std::size_t comparisons_paid_ = 0; // out of the work of the file
    unsigned judged_paths_ = 0;
    unsigned steps_ = 0;
    unsigned fetching_paths_ = 0;
    unsigned fetching_paths_given_back_ = 0;
};

} // namespace basalt
