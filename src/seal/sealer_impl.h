// The inside of a sealer: its authorities with what is known of each, and the asking.
#pragma once

#include <mutex>
#include <random>

#include <chronoseal/seal/armor.h>
#include <chronoseal/seal/endpoint.h>
#include <chronoseal/seal/request_bytes.h>
#include <chronoseal/seal/request_rate.h>
#include <chronoseal/seal/request_rules.h>
#include <chronoseal/seal/verifier_impl.h>

namespace chronoseal {

// What this sealer has seen of an authority. Any number of threads.
class AuthorityHealth {
public:
    // The error that it rests for, or nothing.
    std::optional<Error> resting() const;
    void succeeded();
    // Two failures running put it to rest.
    void failed(const Error& error, std::chrono::milliseconds rest);

private:
    using Clock = std::chrono::steady_clock;

    mutable std::mutex mutex_;
    unsigned failures_ = 0;
    std::optional<Error> last_;
    Clock::time_point until_{};
};

struct KnownAuthority {
    Endpoint endpoint;
    AuthorityHealth health;
};

// A request with what its answer has to be.
struct Question {
    Bytes request;
    Expected expected;
};

struct Answer {
    Stamp stamp;
    Bytes key; // SHA-256 of the signer's key; empty where it wasn't looked for
};

class Sealer::Impl {
public:
    explicit Impl(SealerOptions options);

    const SealerOptions& options() const { return options_; }
    const HashAlgorithm& hash() const { return hash_; }

    Bytes make(const Digest& digest) const;
    // What the digest or the finished request asks for. Throw what the policy forbids.
    Question question_of(const Digest& digest) const;
    Question question_of_request(ByteView request) const;
    // The first good answer by the authorities in their order, leaving out those keys.
    Stamp first(const Question& question, const std::stop_token& stop) const;
    std::vector<Stamp> quorum(const Question& question, const std::stop_token& stop) const;
    bool all_rest() const;

private:
    Answer ask(KnownAuthority& authority, const Question& question,
               const std::stop_token& stop) const;
    Answer ask_once(const KnownAuthority& authority, const Question& question, unsigned attempt,
                    std::chrono::milliseconds& retry_after) const;
    Answer judge(const KnownAuthority& authority, const Question& question, ByteView body,
                 Time sent, unsigned attempt) const;
    bool wait_before(unsigned attempt, const KnownAuthority& authority,
                     std::chrono::milliseconds retry_after, const std::stop_token& stop) const;
    void tell_wait(const KnownAuthority& authority, std::chrono::microseconds wait) const;
    void check_clock(const TokenInfo& token, bool nonce, Time sent,
                     std::vector<Remark>& remarks) const;

    SealerOptions options_;
    RequestRules rules_;
    HashAlgorithm hash_;
    std::string policy_;
    std::size_t nonce_bytes_;
    bool certificates_;
    Verifier::Impl verifier_;
    std::vector<std::unique_ptr<KnownAuthority>> authorities_;
    std::unique_ptr<RequestRate> rate_;
};

} // namespace chronoseal
